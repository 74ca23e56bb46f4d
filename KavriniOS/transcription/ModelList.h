// SPDX-License-Identifier: MIT
#pragma once

#include "transcription/SpeechService.h"

#include <optional>

namespace kavrin
{

/// The request for the list of the service's models: it tells whether the service is reached and takes the
/// key, and sends no sound. The list of a service with the OpenAI form is beside its transcriptions, at
/// ".../v1/models"; none if its address does not end with "/audio/transcriptions". Throws Error of the domain
/// "cfg" if the address is not a URL.
std::optional<UrlRequest> modelListRequest(const SpeechService &service);

/// Whether the body of an answer is such a list: JSON with the array `data` (OpenAI) or `models` (Gemini).
bool isModelList(const QByteArray &body);

} // namespace kavrin
