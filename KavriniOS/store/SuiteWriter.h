// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UserDefaults.h"

#include <QFuture>
#include <QThreadPool>

namespace kavrin
{

/// Writes to the shared suite (Shared::d()) for a main thread that must never wait for another process. All
/// writes are made in the order in which they are handed over, each of them UserDefaults::patience after that
/// at the latest, or it has failed.
///
/// While there is a SuiteWriter, it writes on a thread of its own. Without one, as in command-line tools,
/// each call writes in the calling thread and has finished when it returns.
class SuiteWriter
{
public:
    /// There is one at a time.
    SuiteWriter();

    /// Returns when everything is written that was handed over.
    ~SuiteWriter();
    Q_DISABLE_COPY_MOVE(SuiteWriter)

    /// Has the changes made as one transaction, in their turn also where nobody waits for the result: what
    /// went wrong, if anything. From any thread.
    static QFuture<std::optional<Error>> write(const Changes &changes);

private:
    QThreadPool m_thread;
};

} // namespace kavrin
