// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UserDefaults.h"
#include "transcription/TranscriptionRequest.h"

#include <variant>

namespace kavrin
{

using SpeechService = std::variant<MultipartService, GeminiService>;

/// The service that the shared settings choose, or would choose after the changes `instead`. Every call reads
/// them again. Throws Error if they cannot be read: a recording would go to a service that the user did not
/// choose.
SpeechService chosenService(const Changes &instead = {});

/// What the service lacks before it can be asked, as a sentence for the user: a key, or an address. Empty if
/// nothing.
QString missingFrom(const SpeechService &service);

/// The changes that choose the server at an address. Key and model of another address do not go to it.
Changes choosing(const QString &address);

} // namespace kavrin
