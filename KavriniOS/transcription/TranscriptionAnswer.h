// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QByteArray>
#include <QString>

namespace kavrin
{

// Both functions read the body of a service's answer: JSON (RFC 8259) in UTF-8, or in UTF-16 or UTF-32 if its
// first bytes show that. They return the text without white space around it. They throw Error of the domain
// "json" if the body is not JSON. If it holds no text, they throw Error of the service's own domain; the
// description is the whole body, or "bad response" if it is not UTF-8.

/// The string member `text`. The domain is "stt".
QString multipartTranscript(const QByteArray &body);

/// The string `candidates[0].content.parts[0].text`. Other candidates and parts are ignored. The domain is
/// "gemini".
QString geminiTranscript(const QByteArray &body);

} // namespace kavrin
