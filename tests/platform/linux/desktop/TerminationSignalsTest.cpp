// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/TerminationSignals.h"

#include "support/Wait.h"

#include <gtest/gtest.h>

#include <csignal>

namespace kavrin::test
{

class TerminationSignalsTest : public testing::TestWithParam<int>
{
protected:
    TerminationSignalsTest()
    {
        QObject::connect(&m_signals, &TerminationSignals::requested, [this] { ++m_requests; });
    }

    TerminationSignals m_signals;
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

INSTANTIATE_TEST_SUITE_P(Signals, TerminationSignalsTest, testing::Values(SIGTERM, SIGINT),
                         [](const auto &signal) { return signal.param == SIGTERM ? "SIGTERM" : "SIGINT"; });

} // namespace kavrin::test
