// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QString>

namespace kavrin
{

/// "dictationState" in the shared suite, as the recorders of this process publish it. Main thread only.
class DictationState
{
public:
    /// Stores the state, after everything that SuiteWriter was given before.
    static QCoro::Task<> publish(QString state);

    /// Stores "idle" if the suite still holds the state of a recording or transcription, which a process that
    /// was killed has left there. Call it before the first publish().
    static QCoro::Task<> clearStale();

    /// Stores the last of these again if the suite did not accept it, because it was full or locked.
    static void republishIfFailed();
};

} // namespace kavrin
