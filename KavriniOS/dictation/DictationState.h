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
    /// Has the state stored, after everything that was handed to SuiteWriter before.
    static QCoro::Task<> publish(QString state);

    /// Publishes the last state again where the suite did not take it, because it was full or locked.
    static void publishLate();
};

} // namespace kavrin
