// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/SystemClock.h"

#include "platform/PropertyListValue.h"

#include <QCoroTimer>
#include <QTimer>

namespace kavrin
{

double SystemClock::now() const
{
    return Date::now().secondsSince1970;
}

QCoro::Task<> SystemClock::sleep(std::chrono::milliseconds duration, std::stop_token stop)
{
    if (stop.stop_requested()) {
        co_return;
    }
    QTimer timer;
    timer.setSingleShot(true);
    // A coarse timer may be 5 % late.
    timer.setTimerType(Qt::PreciseTimer);
    timer.start(duration);
    const auto wake = [&timer] { timer.start(std::chrono::milliseconds(0)); };
    const std::stop_callback onStop(stop, wake);
    co_await timer;
}

} // namespace kavrin
