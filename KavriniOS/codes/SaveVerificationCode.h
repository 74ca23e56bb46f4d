// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QString>

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
};

} // namespace kavrin
