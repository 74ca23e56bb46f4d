// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/TerminationSignals.h"

#include "support/Wait.h"

#include <gtest/gtest.h>

#include <csignal>
#include <optional>

namespace kavrin::test
{

class TerminationSignalsTest : public testing::TestWithParam<int>
{
protected:
    TerminationSignalsTest()
    {
        std::signal(SIGHUP, SIG_DFL); // whatever started the tests
        m_signals.emplace();
        QObject::connect(&*m_signals, &TerminationSignals::requested, [this] { ++m_requests; });
    }

    std::optional<TerminationSignals> m_signals;
    int m_requests = 0;
};

TEST_P(TerminationSignalsTest, BecomeARequestOfTheEventLoop)
{
    std::raise(GetParam());
    EXPECT_EQ(m_requests, 0);
    EXPECT_TRUE(waitUntil([&] { return m_requests == 1; }));
}

TEST_P(TerminationSignalsTest, AreTakenEachTime)
{
    std::raise(GetParam());
    ASSERT_TRUE(waitUntil([&] { return m_requests == 1; }));
    std::raise(GetParam());
    EXPECT_TRUE(waitUntil([&] { return m_requests == 2; }));
}

INSTANTIATE_TEST_SUITE_P(Signals, TerminationSignalsTest, testing::Values(SIGTERM, SIGINT, SIGHUP),
                         [](const auto &signal) {
                             return signal.param == SIGTERM ? "SIGTERM"
                                 : signal.param == SIGINT   ? "SIGINT"
                                                            : "SIGHUP";
                         });

TEST(TerminationSignals, LeaveAHangUpIgnoredThatWasIgnoredBefore)
{
    std::signal(SIGHUP, SIG_IGN);
    const TerminationSignals termination;
    EXPECT_EQ(std::signal(SIGHUP, SIG_DFL), SIG_IGN);
}

} // namespace kavrin::test
