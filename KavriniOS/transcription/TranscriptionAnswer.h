// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QByteArray>
#include <QString>

namespace kavrin
{

// Both read the body of a service's answer: JSON (RFC 8259) in UTF-8, or in UTF-16 or UTF-32 as its first
// bytes tell. They return the text without white space around it, and throw Error of the domain "json" where
// the body is not JSON, or of the service's own domain where it holds no text; that one's description is the
// whole body, or "bad response" where it is not UTF-8.

/// The string member `text`. The domain is "stt".
QString multipartTranscript(const QByteArray &body);

/// The string `candidates[0].content.parts[0].text`; no other candidate or part is looked at. The domain is
/// "gemini".
QString geminiTranscript(const QByteArray &body);

} // namespace kavrin
