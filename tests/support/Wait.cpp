// SPDX-License-Identifier: MIT
#include "support/Wait.h"

#include <QCoreApplication>
#include <QTimer>

namespace kavrin::test
{

bool waitUntil(const std::function<bool()> &condition, std::chrono::seconds limit)
{
    const QDeadlineTimer deadline(limit);
    QTimer look; // at conditions that no event of this thread announces
    look.start(std::chrono::milliseconds(2));
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

} // namespace kavrin::test
