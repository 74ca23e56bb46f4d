// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/SystemClock.h"

#include "support/Wait.h"

#include <gtest/gtest.h>

#include <chrono>

namespace kavrin::test
{

namespace
{

using namespace std::chrono_literals;

double wallClock()
{
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

bool ends(const QCoro::Task<> &task)
{
    return waitUntil([&] { return task.isReady(); });
}

} // namespace

TEST(SystemClock, TellsTheWallClock)
{
    const double before = wallClock();
    const double now = SystemClock().now();
    EXPECT_LE(before, now);
    EXPECT_LE(now, wallClock());
}

TEST(SystemClock, SleepsNoShorterThanAsked)
{
    for (const std::chrono::milliseconds duration : {0ms, 1ms, 120ms}) {
        SCOPED_TRACE(duration.count());
        SystemClock clock;
        const auto before = std::chrono::steady_clock::now();
        const QCoro::Task<> sleep = clock.sleep(duration, {});
        EXPECT_TRUE(ends(sleep));
        EXPECT_GE(std::chrono::steady_clock::now() - before, duration);
    }
}

TEST(SystemClock, LetsTheEventLoopRunMeanwhile)
{
    SystemClock clock;
    const QCoro::Task<> sleep = clock.sleep(0ms, {});
    EXPECT_FALSE(sleep.isReady());
    EXPECT_TRUE(ends(sleep));
}

TEST(SystemClock, IsWokenByTheStop)
{
    SystemClock clock;
    const std::stop_source stop;
    const QCoro::Task<> first = clock.sleep(24h, stop.get_token());
    const QCoro::Task<> second = clock.sleep(48h, stop.get_token());
    stop.request_stop();
    EXPECT_TRUE(ends(first));
    EXPECT_TRUE(ends(second));
}

TEST(SystemClock, DoesNotSleepAfterTheStop)
{
    SystemClock clock;
    const std::stop_source stop;
    stop.request_stop();
    const QCoro::Task<> sleep = clock.sleep(24h, stop.get_token());
    EXPECT_TRUE(sleep.isReady());
}

TEST(SystemClock, TakesAStopThatComesAfterTheSleep)
{
    SystemClock clock;
    const std::stop_source stop;
    const QCoro::Task<> sleep = clock.sleep(1ms, stop.get_token());
    ASSERT_TRUE(ends(sleep));
    EXPECT_TRUE(stop.request_stop());
}

} // namespace kavrin::test
