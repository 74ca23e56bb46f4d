// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <functional>

namespace kavrin
{

/// Asks the system not to suspend while something is being finished. Main thread only.
class BackgroundTasks
{
public:
    using Identifier = quint64;

    virtual ~BackgroundTasks() = default;

    /// Begins a task that a person may see listed under `name`. Returns at once, also where the system cannot
    /// be asked. `expirationHandler` is called when the system will wait no longer; the task is still to be
    /// ended then.
    virtual Identifier begin(const QString &name, std::function<void()> expirationHandler) = 0;

    /// Ends a task; an identifier that is not running is ignored.
    virtual void end(Identifier task) = 0;
};

} // namespace kavrin
