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

    /// Publishes the last state again if the suite did not accept it, because it was full or locked.
    static void republishIfFailed();
};

} // namespace kavrin
