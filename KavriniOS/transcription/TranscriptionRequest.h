// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UrlSession.h"

#include <QString>

namespace kavrin
{

/// A service with the OpenAI form of audio transcription: POST {endpoint}, multipart/form-data (RFC 7578).
struct MultipartService {
    QString endpoint; ///< a complete URL, used unchanged
    QString token; ///< the bearer token; if empty, no Authorization header is sent
    QString model;
};

/// The Gemini API: POST /v1beta/models/{model}:generateContent?key={key}, JSON.
struct GeminiService {
    QString host;
    QString model; ///< unchanged in the address, without escaping; so is the key
    QString key;
};

/// The endpoint, unchanged, as a request has it. Throws Error of the domain "cfg" if it is not a URL.
QByteArray requestUrl(const QString &endpoint);

/// The request that makes `service` transcribe `audio`. `boundary` separates the fields of the body and must
/// not occur in the audio. Throws Error of the domain "cfg" if the endpoint is not a URL.
UrlRequest transcriptionRequest(const MultipartService &service, const QString &boundary,
                                const QByteArray &audio);

/// The request that makes `service` transcribe `audio`. Throws Error of the domain "cfg" if model and key
/// give no URL.
UrlRequest transcriptionRequest(const GeminiService &service, const QByteArray &audio);

} // namespace kavrin
