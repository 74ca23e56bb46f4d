// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <functional>

namespace kavrin
{

/// Asks the system not to suspend while the application finishes something. Main thread only.
class BackgroundTasks
{
public:
    using Identifier = quint64;

    virtual ~BackgroundTasks() = default;

    /// Begins a task, which the system may list for the user under `name`. Returns at once, even if the
    /// system cannot be asked. The system calls `expirationHandler` when it will wait no longer; the caller
    /// must still end the task then.
    virtual Identifier begin(const QString &name, std::function<void()> expirationHandler) = 0;

    /// Ends a task. Ignores an identifier that no running task has.
    virtual void end(Identifier task) = 0;
};

} // namespace kavrin
