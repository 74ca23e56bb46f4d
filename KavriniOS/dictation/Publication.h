// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UserDefaults.h"

#include <QCoroTask>

namespace kavrin
{

/// What keyboards are to read in the shared suite, however long the suite accepts nothing because it is full,
/// read-only or locked. Main thread only; must outlive its tasks.
class Publication
{
public:
    /// Stores the changes in place of those before, after everything that SuiteWriter was given before.
    QCoro::Task<> store(Changes changes);

    /// Stores the last changes again if the suite did not accept them.
    void storeAgainIfFailed();

private:
    Changes m_changes;
    bool m_hasFailed = false;
};

} // namespace kavrin
