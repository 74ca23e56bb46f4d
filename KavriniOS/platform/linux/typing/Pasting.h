// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QCoroTask>
#include <QString>

#include <chrono>
#include <optional>

namespace kavrin
{

/// A failure of typing, in words for a person.
Error typingError(const QString &description);

/// Why a text must not be pasted: it holds a control character, which would be a key in a terminal. A line
/// break is one.
std::optional<Error> refusalToPaste(const QString &text);

/// Resumes after `duration`.
QCoro::Task<> pause(std::chrono::milliseconds duration);

} // namespace kavrin
