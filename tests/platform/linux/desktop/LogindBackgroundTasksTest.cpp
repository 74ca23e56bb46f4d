// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/LogindBackgroundTasks.h"

#include "FakeLogind.h"
#include "support/PrivateBus.h"
#include "support/Wait.h"

#include <QDBusPendingCallWatcher>

#include <gtest/gtest.h>

#include <optional>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;
using Answer = FakeLogind::Answer;

/// A logind on a system bus of the test's own, and the tasks on another connection to that bus.
struct Machine {
    explicit Machine(Answer answer) : logind(bus.connection(), answer) { }

    bool waitForCalls(std::size_t count)
    {
        return waitUntil([&] { return logind.calls().size() == count; });
    }

    /// Whether every question has been answered and the answers dealt with.
    bool waitForAnswers()
    {
        return waitUntil([&] { return tasks.findChildren<QDBusPendingCallWatcher *>().isEmpty(); });
    }

    /// Whether the lock of the `number`th call comes to be let go by everyone.
    bool waitForRelease(std::size_t number)
    {
        return waitUntil([&] { return !logind.isHeld(number); });
    }

    /// Whether the lock of the `number`th call is held by a task. A message on its way holds a lock for a
    /// moment, too, so a later one is let come and go first.
    bool isHeldByATask(std::size_t number)
    {
        bool answered = waitForAnswers();
        const std::size_t later = logind.calls().size();
        const BackgroundTasks::Identifier task = tasks.begin(u"later"_s, [] { });
        answered = answered && waitForAnswers();
        tasks.end(task);
        return answered && waitForRelease(later) && logind.isHeld(number);
    }

    PrivateBus bus = PrivateBus("DBUS_SYSTEM_BUS_ADDRESS");
    FakeLogind logind;
    LogindBackgroundTasks tasks;
};

} // namespace

TEST(LogindBackgroundTasks, AskToDelaySleepAndShutdownUnderTheTasksName)
{
    Machine machine(Answer::AtOnce);
    machine.tasks.begin(u"transcribe"_s, [] { });
    ASSERT_TRUE(machine.waitForCalls(1));
    EXPECT_EQ(machine.logind.calls().front(),
              QStringList({u"sleep:shutdown"_s, u"Kavrin"_s, u"transcribe"_s, u"delay"_s}));
}

TEST(LogindBackgroundTasks, HoldTheLockUntilTheTaskEnds)
{
    Machine machine(Answer::AtOnce);
    const BackgroundTasks::Identifier task = machine.tasks.begin(u"transcribe"_s, [] { });
    EXPECT_TRUE(machine.isHeldByATask(0));
    machine.tasks.end(task);
    EXPECT_TRUE(machine.waitForRelease(0));
}

TEST(LogindBackgroundTasks, HoldALockOfItsOwnForEachTask)
{
    Machine machine(Answer::AtOnce);
    const BackgroundTasks::Identifier first = machine.tasks.begin(u"first"_s, [] { });
    const BackgroundTasks::Identifier second = machine.tasks.begin(u"second"_s, [] { });
    EXPECT_NE(first, second);
    ASSERT_TRUE(machine.waitForCalls(2));
    ASSERT_TRUE(machine.waitForAnswers());
    machine.tasks.end(first);
    EXPECT_TRUE(machine.waitForRelease(0));
    EXPECT_TRUE(machine.isHeldByATask(1));
}

TEST(LogindBackgroundTasks, LetTheLockGoThatComesAfterTheEnd)
{
    Machine machine(Answer::WhenTold);
    const BackgroundTasks::Identifier task = machine.tasks.begin(u"transcribe"_s, [] { });
    ASSERT_TRUE(machine.waitForCalls(1));
    machine.tasks.end(task);
    machine.logind.answer();
    EXPECT_TRUE(machine.waitForRelease(0));
}

TEST(LogindBackgroundTasks, IgnoreTheEndOfATaskThatDoesNotRun)
{
    Machine machine(Answer::AtOnce);
    const BackgroundTasks::Identifier task = machine.tasks.begin(u"transcribe"_s, [] { });
    machine.tasks.end(task + 1);
    EXPECT_TRUE(machine.isHeldByATask(0));
}

TEST(LogindBackgroundTasks, ExpireWhenTheMachineGoesToSleepOrShutsDown)
{
    Machine machine(Answer::AtOnce);
    for (const QString &signal : {u"PrepareForSleep"_s, u"PrepareForShutdown"_s}) {
        SCOPED_TRACE(signal.toStdString());
        int expired = 0;
        const BackgroundTasks::Identifier first = machine.tasks.begin(u"first"_s, [&] { ++expired; });
        const BackgroundTasks::Identifier second = machine.tasks.begin(u"second"_s, [&] { ++expired; });
        machine.logind.announce(signal, true);
        EXPECT_TRUE(waitUntil([&] { return expired == 2; }));
        machine.tasks.end(first);
        machine.tasks.end(second);
    }
}

TEST(LogindBackgroundTasks, KeepTheLockOfATaskThatHasExpiredUntilItEnds)
{
    Machine machine(Answer::AtOnce);
    bool expired = false;
    const BackgroundTasks::Identifier task = machine.tasks.begin(u"transcribe"_s, [&] { expired = true; });
    ASSERT_TRUE(machine.waitForCalls(1));
    ASSERT_TRUE(machine.waitForAnswers());
    machine.logind.announce(u"PrepareForSleep"_s, true);
    ASSERT_TRUE(waitUntil([&] { return expired; }));
    EXPECT_TRUE(machine.isHeldByATask(0));
    machine.tasks.end(task);
    EXPECT_TRUE(machine.waitForRelease(0));
}

TEST(LogindBackgroundTasks, DoNotExpireWhenTheMachineWakesUp)
{
    Machine machine(Answer::AtOnce);
    QStringList expired;
    const BackgroundTasks::Identifier task =
        machine.tasks.begin(u"first"_s, [&] { expired.append(u"first"_s); });
    machine.logind.announce(u"PrepareForSleep"_s, false);
    // The signals of one sender arrive in order, so when this answer is here the signal has been, too.
    ASSERT_TRUE(machine.waitForCalls(1));
    ASSERT_TRUE(machine.waitForAnswers());
    machine.tasks.end(task);
    machine.tasks.begin(u"second"_s, [&] { expired.append(u"second"_s); });
    machine.logind.announce(u"PrepareForSleep"_s, true);
    ASSERT_TRUE(waitUntil([&] { return !expired.isEmpty(); }));
    EXPECT_EQ(expired, QStringList(u"second"_s));
}

TEST(LogindBackgroundTasks, DoNotExpireOnceTheyHaveEnded)
{
    Machine machine(Answer::AtOnce);
    QStringList expired;
    BackgroundTasks::Identifier second = 0;
    machine.tasks.begin(u"first"_s, [&] {
        expired.append(u"first"_s);
        machine.tasks.end(second);
    });
    second = machine.tasks.begin(u"second"_s, [&] { expired.append(u"second"_s); });
    machine.tasks.begin(u"third"_s, [&] { expired.append(u"third"_s); });
    machine.logind.announce(u"PrepareForSleep"_s, true);
    ASSERT_TRUE(waitUntil([&] { return expired.contains(u"third"_s); }));
    EXPECT_EQ(expired, QStringList({u"first"_s, u"third"_s}));
}

TEST(LogindBackgroundTasks, RunWithoutALockThatIsRefused)
{
    Machine machine(Answer::Refusal);
    const BackgroundTasks::Identifier task = machine.tasks.begin(u"transcribe"_s, [] { });
    ASSERT_TRUE(machine.waitForCalls(1));
    EXPECT_TRUE(machine.waitForAnswers());
    machine.tasks.end(task);
}

TEST(LogindBackgroundTasks, RunWithoutALockWhereThereIsABusButNoLogind)
{
    const PrivateBus bus("DBUS_SYSTEM_BUS_ADDRESS");
    LogindBackgroundTasks tasks;
    const BackgroundTasks::Identifier task = tasks.begin(u"transcribe"_s, [] { });
    EXPECT_TRUE(waitUntil([&] { return tasks.findChildren<QDBusPendingCallWatcher *>().isEmpty(); }));
    tasks.end(task);
}

TEST(LogindBackgroundTasks, RunWithoutALockOnceTheBusHasGone)
{
    std::optional<PrivateBus> bus(std::in_place, "DBUS_SYSTEM_BUS_ADDRESS");
    LogindBackgroundTasks tasks;
    bus.reset();
    const BackgroundTasks::Identifier task = tasks.begin(u"transcribe"_s, [] { });
    EXPECT_TRUE(waitUntil([&] { return tasks.findChildren<QDBusPendingCallWatcher *>().isEmpty(); }));
    tasks.end(task);
}

TEST(LogindBackgroundTasks, RunWithoutALockWhereThereIsNoBus)
{
    LogindBackgroundTasks tasks;
    int expired = 0;
    const BackgroundTasks::Identifier first = tasks.begin(u"first"_s, [&] { ++expired; });
    const BackgroundTasks::Identifier second = tasks.begin(u"second"_s, [&] { ++expired; });
    EXPECT_NE(first, second);
    EXPECT_TRUE(tasks.findChildren<QDBusPendingCallWatcher *>().isEmpty());
    tasks.end(first);
    tasks.end(second);
    EXPECT_EQ(expired, 0);
}

} // namespace kavrin::test
