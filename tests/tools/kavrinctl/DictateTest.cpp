// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/InstanceLock.h"
#include "store/Shared.h"
#include "support/OtherProgram.h"
#include "support/Paths.h"
#include "support/Suite.h"
#include "tools/kavrinctl/Kavrinctl.h"

#include <QProcess>

#include <gtest/gtest.h>

#include <functional>
#include <thread>

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

namespace
{

void store(const QString &key, const PropertyListValue &value)
{
    ASSERT_EQ(test::failureOf(Shared::d().set(key, value)), u"");
}

QString stored(const QString &key)
{
    return Shared::d().string(key).value_or(u"none"_s);
}

/// Hands a text over as the application does, some seconds ago. Returns its stamp.
double storeTranscript(const QString &text, double age = 0)
{
    const double stamp = Date::now().secondsSince1970 - age;
    store(u"transcript"_s, text);
    store(u"tStamp"_s, stamp);
    store(u"dictationState"_s, u"done"_s);
    return stamp;
}

/// What `dictate wait` comes to if `used` is marked: no text, and `stamp` is marked then.
void expectNoText(double used, double stamp)
{
    store(u"tUsed"_s, used);
    const Outcome outcome = kavrinctl({u"dictate"_s, u"wait"_s, u"--timeout"_s, u"0"_s});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output, u"");
    EXPECT_TRUE(outcome.errors.contains(u"No transcript has come")) << outcome.errors.toStdString();
    EXPECT_EQ(Shared::d().object(u"tUsed"_s), PropertyListValue(stamp));
}

/// As the application does now.
void storeFailure(const QString &message)
{
    const QString at = QString::number(Date::now().secondsSince1970, 'f', 3);
    store(u"dictationError"_s, u"{\"code\":\"stt\",\"message\":\"%1\",\"at\":%2}"_s.arg(message, at));
}

/// Stands in for the running application: holds the lock, beats, and obeys a command as the test says.
class Application
{
public:
    explicit Application(std::function<void(const QString &command)> obey)
    {
        EXPECT_TRUE(m_lock.take({}));
        beat();
        m_thread = std::jthread([obey = std::move(obey)](const std::stop_token &stop) {
            while (!stop.stop_requested()) {
                beat();
                const QString command = stored(u"dictationCommand"_s);
                if (command == u"start" || command == u"stop") {
                    obey(command);
                    store(u"dictationCommand"_s, QString());
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    }

private:
    static void beat() { store(u"dictationAlive"_s, Date::now().secondsSince1970); }

    InstanceLock m_lock{Shared::lockPath()};
    std::jthread m_thread;
};

void record(const QString &command)
{
    store(u"dictationState"_s, command == u"start" ? u"recording"_s : u"working"_s);
}

} // namespace

TEST(KavrinctlDictate, WithoutARunningApplicationCommandsAreRefusedAndNotLeftBehind)
{
    for (const QString &action : {u"start"_s, u"stop"_s, u"toggle"_s}) {
        const Outcome outcome = kavrinctl({u"dictate"_s, action});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_TRUE(outcome.errors.contains(u"Kavrin is not running"));
        EXPECT_EQ(stored(u"dictationCommand"_s), u"none");
    }
}

TEST(KavrinctlDictate, AnApplicationWhoseHeartbeatIsOldDoesNotRun)
{
    store(u"dictationAlive"_s, Date::now().secondsSince1970 - 60);
    EXPECT_EQ(kavrinctl({u"dictate"_s, u"status"_s}).output, u"not running\n");
    EXPECT_EQ(kavrinctl({u"dictate"_s, u"start"_s}).exitCode, 1);
}

TEST(KavrinctlDictate, AnApplicationThatWasKilledAMomentAgoDoesNotRun)
{
    store(u"dictationAlive"_s, Date::now().secondsSince1970 + 1);
    store(u"dictationState"_s, u"recording"_s);
    EXPECT_EQ(kavrinctl({u"dictate"_s, u"status"_s}).output, u"not running\n");
    for (const QString &action : {u"start"_s, u"stop"_s, u"wait"_s}) {
        const Outcome outcome = kavrinctl({u"dictate"_s, action});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_TRUE(outcome.errors.contains(u"Kavrin is not running"));
        EXPECT_EQ(stored(u"dictationCommand"_s), u"none");
    }
}

TEST(KavrinctlDictate, StartReturnsWhenRecordingRuns)
{
    const Application application(record);
    EXPECT_EQ(kavrinctl({u"dictate"_s, u"start"_s}).exitCode, 0);
    EXPECT_EQ(stored(u"dictationState"_s), u"recording");
    EXPECT_EQ(kavrinctl({u"dictate"_s, u"status"_s}).output, u"recording\n");
}

TEST(KavrinctlDictate, AStartThatFailsIsSaid)
{
    const std::pair<QString, QString> rows[] = {{u"starting"_s, u"microphone could not be opened"_s},
                                                {u"idle"_s, u"not be allowed"_s}};
    for (const auto &[state, message] : rows) {
        const Application application([&](const QString &) { store(u"dictationState"_s, state); });
        const Outcome outcome = kavrinctl({u"dictate"_s, u"start"_s});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_TRUE(outcome.errors.contains(message)) << outcome.errors.toStdString();
    }
}

TEST(KavrinctlDictate, AStartThatIsSaidToHaveFailedIsTakenBack)
{
    QStringList commands;
    {
        const Application application([&](const QString &command) { commands.append(command); });
        EXPECT_EQ(kavrinctl({u"dictate"_s, u"start"_s}).exitCode, 1);
    }
    EXPECT_EQ(commands, (QStringList{u"start"_s, u"stop"_s}));
}

TEST(KavrinctlDictate, AStartThatFailsIsSaidAsTheApplicationSaysIt)
{
    QStringList commands;
    {
        const Application application([&](const QString &command) {
            commands.append(command);
            storeFailure(u"Recording failed: no"_s);
            store(u"dictationState"_s, u"starting"_s);
        });
        const Outcome outcome = kavrinctl({u"dictate"_s, u"start"_s});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(outcome.errors, u"kavrinctl: Recording failed: no\n");
    }
    EXPECT_EQ(commands, QStringList{u"start"_s}); // there is nothing to take back
}

TEST(KavrinctlDictate, AStartThatFailsIsSaidAlsoWhereARecordingIsLeftOverInTheState)
{
    store(u"dictationState"_s, u"recording"_s);
    const Application application([](const QString &) {
        store(u"dictationCommand"_s, QString());
        std::this_thread::sleep_for(std::chrono::milliseconds(50)); // as long as a start may take
        store(u"dictationState"_s, u"starting"_s);
    });
    const Outcome outcome = kavrinctl({u"dictate"_s, u"start"_s});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(outcome.errors.contains(u"microphone could not be opened")) << outcome.errors.toStdString();
}

TEST(KavrinctlDictate, StartWhileTranscribingIsRefused)
{
    store(u"dictationState"_s, u"working"_s);
    const Application application([](const QString &) { });
    EXPECT_EQ(kavrinctl({u"dictate"_s, u"start"_s}).exitCode, 1);
}

TEST(KavrinctlDictate, StopNeedsARecording)
{
    const Application application([](const QString &) { });
    EXPECT_EQ(kavrinctl({u"dictate"_s, u"stop"_s}).exitCode, 1);
    for (const QString &leftOver : {u"recording"_s, u"starting"_s}) {
        store(u"dictationState"_s, leftOver); // by an application that was killed, or a start that failed
        EXPECT_EQ(kavrinctl({u"dictate"_s, u"stop"_s}).exitCode, 1);
    }
}

TEST(KavrinctlDictate, StopEndsARecordingThatIsNotInTheState)
{
    store(u"dictationState"_s, u"idle"_s);
    const Application application(record);
    EXPECT_EQ(kavrinctl({u"dictate"_s, u"stop"_s}).exitCode, 0);
    EXPECT_EQ(stored(u"dictationState"_s), u"working");
}

TEST(KavrinctlDictate, ToggleStartsThenStops)
{
    const Application application(record);
    EXPECT_EQ(kavrinctl({u"dictate"_s, u"toggle"_s}).exitCode, 0);
    EXPECT_EQ(stored(u"dictationState"_s), u"recording");
    EXPECT_EQ(kavrinctl({u"dictate"_s, u"toggle"_s}).exitCode, 0);
    EXPECT_EQ(stored(u"dictationState"_s), u"working");
}

TEST(KavrinctlDictate, ToggleStartsAnewWhenTheRecordingIsLeftFromAnApplicationThatWasKilled)
{
    store(u"dictationState"_s, u"recording"_s);
    bool started = false;
    const Application application([&](const QString &command) { started = command == u"start"; });
    EXPECT_EQ(kavrinctl({u"dictate"_s, u"toggle"_s}).exitCode, 0);
    EXPECT_TRUE(started);
}

TEST(KavrinctlDictate, WaitPrintsTheTextOfADictationThatHasJustEndedAndMarksIt)
{
    for (const QString &text : {u"hello world"_s, QString()}) { // a service may have heard nothing
        const double stamp = storeTranscript(text);
        const Outcome outcome = kavrinctl({u"dictate"_s, u"wait"_s});
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.output, text + u'\n');
        EXPECT_EQ(Shared::d().object(u"tUsed"_s), PropertyListValue(stamp));
    }
}

TEST(KavrinctlDictate, WaitPrintsNoTextThatIsAMinuteOldOrUsed)
{
    const Application application([](const QString &) { });
    const double future = storeTranscript(u"of a clock that was wrong"_s, -600);
    expectNoText(0, future);
    const double old = storeTranscript(u"for another place"_s, 61);
    expectNoText(0, old);
    expectNoText(old, old);
}

TEST(KavrinctlDictate, WaitPrintsNoTextThatAKeyboardUsesBetweenReadingAndMarking)
{
    store(u"tUsed"_s, 1.5);
    storeTranscript(u"hello"_s);
    OtherProgram keyboard;
    keyboard.execute("BEGIN IMMEDIATE");
    QProcess waiting;
    waiting.start(programPath("kavrinctl"), {u"dictate"_s, u"wait"_s});
    ASSERT_TRUE(waiting.waitForStarted());
    EXPECT_FALSE(waiting.waitForFinished(300)); // it has read the text, and waits to mark it
    keyboard.execute("UPDATE defaults SET value = (SELECT value FROM defaults WHERE key = 'tStamp') "
                     "WHERE key = 'tUsed'");
    keyboard.execute("COMMIT");
    ASSERT_TRUE(waiting.waitForFinished());
    EXPECT_EQ(waiting.readAllStandardOutput(), "");
    EXPECT_EQ(waiting.exitCode(), 1);
}

TEST(KavrinctlDictate, WaitSaysWhyTheLastDictationFailedAndPrintsNoTextOfBefore)
{
    storeTranscript(u"of before"_s);
    store(u"dictationState"_s, u"idle"_s);
    storeFailure(u"Error: no"_s);
    const Outcome outcome = kavrinctl({u"dictate"_s, u"wait"_s});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output, u"");
    EXPECT_TRUE(outcome.errors.contains(u"Error: no")) << outcome.errors.toStdString();
}

TEST(KavrinctlDictate, WaitPrintsTheTextThatCameAfterAFailure)
{
    storeFailure(u"Error: no"_s);
    storeTranscript(u"new"_s);
    const Application application([](const QString &) { });
    const Outcome outcome = kavrinctl({u"dictate"_s, u"wait"_s});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors.toStdString();
    EXPECT_EQ(outcome.output, u"new\n");
}

TEST(KavrinctlDictate, WaitWaitsForTheDictationUnderWayAndNotForAnOldTranscript)
{
    storeTranscript(u"old"_s);
    store(u"dictationState"_s, u"working"_s);
    const Application application([](const QString &) { });
    QProcess waiting;
    waiting.start(programPath("kavrinctl"), {u"dictate"_s, u"wait"_s});
    ASSERT_TRUE(waiting.waitForStarted());
    storeTranscript(u"new"_s);
    ASSERT_TRUE(waiting.waitForFinished());
    EXPECT_EQ(waiting.exitCode(), 0);
    EXPECT_EQ(waiting.readAllStandardOutput(), "new\n");
}

TEST(KavrinctlDictate, WaitSaysThatTheDictationUnderWayHasFailed)
{
    store(u"dictationState"_s, u"working"_s);
    const Application application([](const QString &) { });
    QProcess waiting;
    waiting.start(programPath("kavrinctl"), {u"dictate"_s, u"wait"_s});
    // One failure after the other, for as long as it takes the process to begin to look.
    while (!waiting.waitForFinished(100)) {
        ASSERT_NE(waiting.state(), QProcess::NotRunning);
        const bool isWorking = stored(u"dictationState"_s) == u"working";
        store(u"dictationState"_s, isWorking ? u"idle"_s : u"working"_s);
    }
    EXPECT_EQ(waiting.exitCode(), 1);
    EXPECT_TRUE(waiting.readAllStandardError().contains("The dictation failed"));
}

TEST(KavrinctlDictate, WaitEndsWhenNothingComesInTime)
{
    const Application application([](const QString &) { });
    const Outcome outcome = kavrinctl({u"dictate"_s, u"wait"_s, u"--timeout"_s, u"0.05"_s});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(outcome.errors.contains(u"No transcript has come"));
}

TEST(KavrinctlDictate, WaitEndsWhenTheApplicationIsGone)
{
    store(u"dictationAlive"_s, Date::now().secondsSince1970 - 60);
    store(u"dictationState"_s, u"working"_s);
    const Outcome outcome = kavrinctl({u"dictate"_s, u"wait"_s});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(outcome.errors.contains(u"Kavrin is not running"));
}

TEST(KavrinctlDictate, StatusTellsAProgramWhetherKavrinRuns)
{
    EXPECT_EQ(kavrinctl({u"dictate"_s, u"status"_s, u"--json"_s}).output,
              u"{\"running\":false,\"state\":null}\n");
    const Application application(record);
    store(u"dictationState"_s, u"done"_s);
    EXPECT_EQ(kavrinctl({u"dictate"_s, u"status"_s, u"--json"_s}).output,
              u"{\"running\":true,\"state\":\"done\"}\n");
}
