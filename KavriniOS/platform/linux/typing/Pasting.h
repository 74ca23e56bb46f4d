// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"
#include "platform/Typing.h"

#include <QCoroTask>
#include <QString>

#include <chrono>
#include <optional>

namespace kavrin
{

/// Types by a paste: the text is put on the clipboard and on the primary selection, and Shift+Insert is
/// pressed.
class Pasting : public Typing
{
    Q_OBJECT

public:
    /// Refuses a text with a control character, which would be a key in a terminal. A line break is one.
    QCoro::Task<std::optional<Error>> type(QString text, Check check = unchecked) final;

private:
    /// Pastes a text that is neither empty nor refused. Calls `check` immediately before it presses the keys.
    /// Throws Error.
    virtual QCoro::Task<> paste(QString text, Check check) = 0;
};

/// A failure of typing, in words for a person.
Error typingError(const QString &description);

/// Resumes after `duration`.
QCoro::Task<> pause(std::chrono::milliseconds duration);

} // namespace kavrin
