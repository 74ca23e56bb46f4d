// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UrlSession.h"

#include <QString>

namespace kavrin
{

/// A service with the OpenAI form of audio transcription: POST {endpoint}, multipart/form-data (RFC 7578).
struct MultipartService {
    QString endpoint; ///< a whole URL, used as it stands
    QString token; ///< the bearer token; where it is empty no Authorization header is sent
    QString model;
};

/// The Gemini API: POST /v1beta/models/{model}:generateContent?key={key}, JSON.
struct GeminiService {
    QString host;
    QString model; ///< as it stands in the address, without escaping; so is the key
    QString key;
};

/// The request that has `service` transcribe `audio`. `boundary` parts the fields of the body and must not
/// occur in the audio. Throws Error of the domain "cfg" where the endpoint is not a URL.
UrlRequest transcriptionRequest(const MultipartService &service, const QString &boundary,
                                const QByteArray &audio);

/// The request that has `service` transcribe `audio`. Throws Error of the domain "cfg" where model or key
/// make no URL.
UrlRequest transcriptionRequest(const GeminiService &service, const QByteArray &audio);

} // namespace kavrin
