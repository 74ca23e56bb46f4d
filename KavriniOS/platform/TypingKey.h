// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QString>

namespace kavrin
{

/// The key that dictates into whatever window has the focus. Another program of the user's has it; this is
/// what the application knows of that program. Main thread only. The tasks may outlive the object.
class TypingKey
{
public:
    virtual ~TypingKey() = default;

    /// For a person: the key combination as the desktop names it ("Ctrl+Alt+D"), or a sentence that says why
    /// there is none. Empty if the program does not run; asking does not start it.
    virtual QCoro::Task<QString> name() = 0;

    /// Starts the program, now and at each login where the system can do that, and makes the desktop ask the
    /// user for the keys, also if they have refused them before. Resumes when the user has answered, with
    /// what name() says then.
    virtual QCoro::Task<QString> setUp() = 0;

    /// The command that is the same key, for a desktop that gives no program a key.
    [[nodiscard]] virtual QString command() const = 0;
};

} // namespace kavrin
