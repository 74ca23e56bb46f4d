// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QString>

namespace kavrin
{

/// The action that the application offers to automations: hand over a message, and the keyboard offers the
/// code in it. It asks the user nothing and opens no window. A value type; each run is independent of every
/// other.
struct SaveVerificationCode {
    /// "Save verification code".
    static QString title();

    /// What `text` is called where a person fills it in: "Message".
    static QString textTitle();

    /// The message.
    QString text;

    /// Stores the code of the message with the source "message" (Codes::changes()), as SuiteWriter does it.
    /// Succeeds whether or not there is one, and never throws.
    QCoro::Task<> perform() const;
};

} // namespace kavrin
