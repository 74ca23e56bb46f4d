// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QCoroTask>
#include <QFuture>
#include <QString>

#include <optional>

namespace kavrin
{

/// The action that the application offers to automations: it takes a message, and the keyboard offers the
/// code in it. It asks the user nothing and opens no window. A value type; runs do not depend on each other.
struct SaveVerificationCode {
    /// "Save verification code".
    static QString title();

    /// The title of `text` in a form that a user fills in: "Message".
    static QString textTitle();

    QString text;

    /// Stores the code of the message with the source "message" (Codes::changes()), through SuiteWriter.
    /// Succeeds whether or not there is a code, and never throws.
    QCoro::Task<> perform() const;

    /// perform() for callers that must know whether that could be stored. The result says what went wrong.
    [[nodiscard]] QFuture<std::optional<Error>> store() const;
};

} // namespace kavrin
