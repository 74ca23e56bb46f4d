// SPDX-License-Identifier: MIT
#include "tools/typist/Typist.h"

#include "FakeKavrin.h"
#include "platform/linux/desktop/FakeNotificationServer.h"
#include "platform/linux/desktop/SystemClock.h"
#include "support/PrivateBus.h"
#include "support/Wait.h"

#include <gtest/gtest.h>

#include <memory>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

class TypistTest : public testing::Test
{
protected:
    TypistTest() { desktop.answersAtOnce = true; }

    /// Why the key did nothing; empty if it did something.
    QString press()
    {
        const std::optional<Error> failure = await(typist.press());
        return failure ? failure->localizedDescription : QString();
    }

    const PrivateBus bus{"DBUS_SESSION_BUS_ADDRESS"};
    std::unique_ptr<FakeKavrin> kavrin = std::make_unique<FakeKavrin>(bus.connection());
    FakeNotificationServer desktop{bus.connection()};
    SystemClock clock;
    RunningKavrin running;
    Typist typist{{.kavrin = running,
                   .clock = clock,
                   .findTyping = [] { return Result<std::unique_ptr<Typing>>{}; },
                   .isLocked = []() -> QCoro::Task<bool> { co_return false; }}};
};

} // namespace

TEST_F(TypistTest, HasKavrinShowWhyTheKeyDidNothing)
{
    kavrin->activity = u"working"_s;
    const QString reason = press();
    EXPECT_EQ(reason, u"Kavrin is busy with another dictation. Try again when it is over.");
    EXPECT_TRUE(waitUntil([&] { return kavrin->problems == QStringList{reason}; }));
    EXPECT_EQ(desktop.asked, QStringList());
}

TEST_F(TypistTest, ShowsItselfThatKavrinDoesNotAnswer)
{
    kavrin.reset();
    const QString reason = press();
    EXPECT_TRUE(reason.startsWith(u"Kavrin does not answer: ")) << qPrintable(reason);
    EXPECT_TRUE(waitUntil([&] { return desktop.asked == QStringList{reason}; }));
}

TEST_F(TypistTest, ShowsItselfThatKavrinHasEndedWhileItRecorded)
{
    EXPECT_EQ(press(), u"");
    kavrin.reset();
    EXPECT_TRUE(waitUntil([&] { return !desktop.asked.isEmpty(); }));
    EXPECT_TRUE(desktop.asked.value(0).startsWith(u"Kavrin does not answer: "));
}

} // namespace kavrin::test
