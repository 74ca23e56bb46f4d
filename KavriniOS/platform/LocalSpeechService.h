// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QCoroTask>
#include <QString>

namespace kavrin
{

/// The speech service that comes with the application and runs on this machine. Main thread only.
class LocalSpeechService
{
public:
    /// What start() has found or done.
    struct Started {
        bool atEachLogin = false; ///< the system starts it at each login from now on
        qint64 process = 0; ///< the process that was started until the user logs out; 0 if there is none
    };

    virtual ~LocalSpeechService() = default;

    /// Where it serves: the whole address, as the setting "customURL" holds it.
    [[nodiscard]] virtual QString address() const = 0;

    /// Starts it, now and at each login where the system can do that. Starts nothing if a program of the user
    /// serves the address already. Resumes when it serves, which may take a minute on a slow machine. Throws
    /// Error, with what to do, if it does not serve, or if a program of another user does: that one would
    /// hear what is said. The task may outlive this object.
    virtual QCoro::Task<Started> start() = 0;
};

} // namespace kavrin
