// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Clock.h"

#include <QCoroTimer>
#include <QPointer>
#include <QTimer>

namespace kavrin::test
{

/// A clock that stands still until the test moves it.
class FakeClock : public Clock
{
public:
    double time = 1'800'000'000;
    std::vector<std::chrono::milliseconds> sleeps; ///< how long each sleep was to last

    [[nodiscard]] double now() const override { return time; }

    QCoro::Task<> sleep(std::chrono::milliseconds duration, std::stop_token stop) override
    {
        sleeps.push_back(duration);
        if (stop.stop_requested()) {
            co_return;
        }
        QTimer timer;
        timer.setSingleShot(true);
        timer.start(std::chrono::hours(24)); // that is, until the test or the stop wakes it
        // cppcheck-suppress danglingLifetime ; it is a QPointer, which forgets the timer with its end
        m_sleeper = &timer;
        const auto wake = [&timer] { timer.start(0); };
        const std::stop_callback onStop(stop, wake);
        co_await timer;
    }

    [[nodiscard]] bool isAsleep() const { return m_sleeper && m_sleeper->interval() > 0; }
    void wake() { m_sleeper->start(0); }

private:
    QPointer<QTimer> m_sleeper;
};

} // namespace kavrin::test
