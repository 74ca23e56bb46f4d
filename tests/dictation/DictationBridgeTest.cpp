// SPDX-License-Identifier: MIT
#include "dictation/DictationBridge.h"
#include "dictation/DictationState.h"
#include "dictation/KeptRecordings.h"

#include "doubles/FakeRecorderPlatform.h"
#include "store/Shared.h"
#include "support/RefusedKey.h"
#include "support/Suite.h"
#include "support/Wait.h"

#include <QFile>

#include <gmock/gmock.h>

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

namespace
{

QString shared(const QString &key)
{
    return Shared::d().string(key).value_or(u"none"_s);
}

void command(const QString &text)
{
    ASSERT_EQ(test::failureOf(Shared::d().set(u"dictationCommand"_s, text)), u"");
}

double alive()
{
    const auto value = Shared::d().object(u"dictationAlive"_s);
    return value ? std::get<double>(*value) : 0;
}

void putRecording(const QByteArray &contents)
{
    QFile file(Recorder::url());
    ASSERT_TRUE(file.open(QFile::WriteOnly));
    file.write(contents);
}

/// The latest of the recordings whose transcription failed.
QByteArray keptRecording()
{
    QFile file(KeptRecordings::latest().value_or(QString()));
    return file.open(QFile::ReadOnly) ? file.readAll() : "none";
}

class DictationBridgeTest : public testing::Test
{
protected:
    ~DictationBridgeTest() override
    {
        stop.request_stop();
        waitUntil([this] { return !running || ended; });
    }

    void run()
    {
        running = true;
        bridge.run(stop.get_token()).then([this] { ended = true; });
        waitUntil([this] { return machine.clock.isAsleep(); });
    }

    /// Lets the loop make one more pass.
    void pass()
    {
        const size_t passes = machine.clock.sleeps.size();
        machine.clock.wake();
        ASSERT_TRUE(
            waitUntil([&] { return machine.clock.sleeps.size() > passes && machine.clock.isAsleep(); }));
    }

    /// A dictation whose transcription fails.
    void failToTranscribe(const QByteArray &recording)
    {
        await(bridge.start());
        putRecording(recording);
        bridge.stop();
        machine.failTranscription(Error(u"network"_s, 1, u"no"_s));
        ASSERT_TRUE(waitUntil([this] { return machine.dictations.activity() == u"idle"; }));
    }

    FakeRecorderPlatform machine;
    int loopbackStarts = 0;
    DictationBridge bridge{machine.platform(),
                           [](const QByteArray &) { return std::make_unique<FakeAudioPlayer>(); },
                           [this] { ++loopbackStarts; }};
    std::stop_source stop;
    bool running = false;
    bool ended = false;
};

} // namespace

TEST_F(DictationBridgeTest, StartsTheLoopbackServerOnceForAllPasses)
{
    EXPECT_EQ(loopbackStarts, 0);
    run();
    pass();
    EXPECT_EQ(loopbackStarts, 1);
}

TEST_F(DictationBridgeTest, BeatsOnTheFirstPassAndOnEveryEighthAfterIt)
{
    run();
    EXPECT_EQ(alive(), machine.clock.time);
    std::vector<int> beats;
    for (int number = 2; number <= 20; ++number) {
        machine.clock.time += 0.12;
        const double before = alive();
        pass();
        if (alive() != before) {
            EXPECT_EQ(alive(), machine.clock.time);
            beats.push_back(number);
        }
    }
    EXPECT_EQ(beats, (std::vector{9, 17}));
}

TEST_F(DictationBridgeTest, Sleeps120MillisecondsBetweenPasses)
{
    run();
    pass();
    EXPECT_THAT(machine.clock.sleeps, testing::Each(std::chrono::milliseconds(120)));
}

TEST_F(DictationBridgeTest, ACommandThatIsAlreadyThereIsTakenOnTheFirstPass)
{
    command(u"start"_s);
    run();
    EXPECT_EQ(shared(u"dictationCommand"_s), u"");
    EXPECT_EQ(shared(u"dictationState"_s), u"recording");
}

TEST_F(DictationBridgeTest, StartRecordsAndStopTranscribes)
{
    run();
    command(u"start"_s);
    pass();
    EXPECT_EQ(shared(u"dictationCommand"_s), u"");
    EXPECT_EQ(shared(u"dictationState"_s), u"recording");

    command(u"stop"_s);
    pass();
    EXPECT_EQ(shared(u"dictationCommand"_s), u"");
    EXPECT_EQ(shared(u"dictationState"_s), u"working");

    machine.finishTranscription(u"hello"_s);
    ASSERT_TRUE(waitUntil([] { return shared(u"dictationState"_s) == u"done"; }));
    EXPECT_EQ(shared(u"transcript"_s), u"hello");
    EXPECT_EQ(bridge.recorder().state(), Recorder::S::idle);
}

TEST_F(DictationBridgeTest, AfterATranscriptANewStartRecordsAtOnce)
{
    run();
    for (const QString &text : {u"first"_s, u"second"_s}) {
        command(u"start"_s);
        pass();
        command(u"stop"_s);
        pass();
        machine.finishTranscription(text);
        ASSERT_TRUE(waitUntil([&] { return shared(u"transcript"_s) == text; }));
    }
}

TEST_F(DictationBridgeTest, AStartWhileRecordingIsSwallowed)
{
    run();
    command(u"start"_s);
    pass();
    command(u"start"_s);
    pass();
    EXPECT_EQ(shared(u"dictationCommand"_s), u"");
    EXPECT_EQ(machine.recorders.size(), 1U);
}

TEST_F(DictationBridgeTest, AStartWhileTranscribingIsSwallowed)
{
    run();
    command(u"start"_s);
    pass();
    command(u"stop"_s);
    pass();
    command(u"start"_s);
    pass();
    EXPECT_EQ(shared(u"dictationCommand"_s), u"");
    EXPECT_EQ(shared(u"dictationState"_s), u"working");
    EXPECT_EQ(machine.recorders.size(), 1U);
    machine.finishTranscription(u""_s);
    waitUntil([] { return shared(u"dictationState"_s) == u"done"; });
}

TEST_F(DictationBridgeTest, StartWrittenTwiceWithinAPassIsOneRecording)
{
    run();
    command(u"start"_s);
    command(u"start"_s);
    pass();
    pass();
    EXPECT_EQ(machine.recorders.size(), 1U);
}

TEST_F(DictationBridgeTest, ACommandThatCannotBeClearedCountsOnce)
{
    machine.session.activationFailure = Error(u"audio"_s, 1, u"No sound server."_s);
    run();
    command(u"start"_s);
    {
        const RefusedKey refused("dictationCommand");
        pass();
        pass();
        EXPECT_EQ(shared(u"dictationCommand"_s), u"start");
    }
    pass();
    EXPECT_EQ(shared(u"dictationCommand"_s), u"");
    EXPECT_EQ(machine.failures.size(), 1);

    command(u"start"_s);
    pass();
    EXPECT_EQ(machine.failures.size(), 2);
}

TEST_F(DictationBridgeTest, AnotherCommandInPlaceOfOneThatCouldNotBeClearedCounts)
{
    run();
    command(u"start"_s);
    {
        const RefusedKey refused("dictationCommand");
        pass();
    }
    command(u"stop"_s);
    pass();
    EXPECT_EQ(shared(u"dictationState"_s), u"working");
    machine.finishTranscription(u""_s);
    waitUntil([] { return shared(u"dictationState"_s) == u"done"; });
}

TEST_F(DictationBridgeTest, AStateThatCouldNotBeStoredIsStoredWithABeat)
{
    run();
    {
        const RefusedKey refused("dictationState");
        command(u"start"_s);
        pass();
    }
    for (int number = 3; number <= 9; ++number) {
        EXPECT_EQ(shared(u"dictationState"_s), u"none");
        pass();
    }
    EXPECT_EQ(shared(u"dictationState"_s), u"recording");
}

TEST_F(DictationBridgeTest, WhatAKilledProcessHasLeftIsIdleFromTheStart)
{
    const std::pair<QString, QString> rows[] = {
        {u"starting"_s, u"idle"_s}, {u"recording"_s, u"idle"_s}, {u"working"_s, u"idle"_s},
        {u"done"_s, u"done"_s},     {u"idle"_s, u"idle"_s},      {u"something else"_s, u"something else"_s}};
    for (const auto &[left, expected] : rows) {
        put(Shared::d(), u"dictationState"_s, left);
        DictationState::clearStale();
        EXPECT_EQ(shared(u"dictationState"_s), expected);
    }
    put(Shared::d(), u"dictationState"_s, u"recording"_s);
    run();
    EXPECT_EQ(shared(u"dictationState"_s), u"idle");
}

TEST_F(DictationBridgeTest, WhatAKilledProcessHasLeftIsClearedLaterWhereTheSuiteTakesNothingAtFirst)
{
    put(Shared::d(), u"dictationState"_s, u"recording"_s);
    {
        const RefusedKey refused("dictationState");
        DictationState::clearStale();
        EXPECT_EQ(shared(u"dictationState"_s), u"recording");
    }
    DictationState::republishIfFailed();
    EXPECT_EQ(shared(u"dictationState"_s), u"idle");
}

TEST_F(DictationBridgeTest, WithoutAStateNoneIsPublishedAtTheStart)
{
    run();
    EXPECT_EQ(shared(u"dictationState"_s), u"none");
}

TEST_F(DictationBridgeTest, AStopWhileIdleIsSwallowed)
{
    run();
    command(u"stop"_s);
    pass();
    EXPECT_EQ(shared(u"dictationCommand"_s), u"");
    EXPECT_TRUE(machine.journal.isEmpty());
    EXPECT_EQ(shared(u"dictationState"_s), u"none");
}

TEST_F(DictationBridgeTest, AStopWhileTranscribingIsSwallowed)
{
    run();
    command(u"start"_s);
    pass();
    command(u"stop"_s);
    pass();
    const Journal before = machine.journal;
    command(u"stop"_s);
    pass();
    EXPECT_EQ(shared(u"dictationCommand"_s), u"");
    EXPECT_EQ(machine.journal, before);
    machine.finishTranscription(u""_s);
    waitUntil([] { return shared(u"dictationState"_s) == u"done"; });
}

TEST_F(DictationBridgeTest, AnyOtherValueStaysAndTheLoopGoesOn)
{
    const PropertyListValue values[] = {u"Start"_s, u"STOP"_s, u"start "_s,        u"pause"_s,
                                        qint64(1),  true,      QByteArray("start")};
    run();
    for (const PropertyListValue &value : values) {
        test::put(Shared::d(), u"dictationCommand"_s, value);
        pass();
        EXPECT_EQ(Shared::d().object(u"dictationCommand"_s), value);
    }
    EXPECT_TRUE(machine.journal.isEmpty());
    command(u"start"_s);
    pass();
    EXPECT_EQ(shared(u"dictationState"_s), u"recording");
}

TEST_F(DictationBridgeTest, ARefusedPermissionLeavesTheStateIdleAndTheNextStartAsksAgain)
{
    machine.session.permission = false;
    run();
    command(u"start"_s);
    pass();
    EXPECT_EQ(shared(u"dictationState"_s), u"idle");
    machine.session.permission = true;
    command(u"start"_s);
    pass();
    EXPECT_EQ(shared(u"dictationState"_s), u"recording");
}

TEST_F(DictationBridgeTest, AFailedSetUpLeavesTheStateStartingUntilTheNextAttempt)
{
    machine.session.activationFailure = Error(u"audio"_s, 1, u"No sound server."_s);
    run();
    command(u"start"_s);
    pass();
    pass();
    EXPECT_EQ(shared(u"dictationState"_s), u"starting");
    machine.session.activationFailure.reset();
    command(u"start"_s);
    pass();
    EXPECT_EQ(shared(u"dictationState"_s), u"recording");
}

TEST_F(DictationBridgeTest, StartTellsWhyThereIsNoRecording)
{
    machine.session.activationFailure = Error(u"audio"_s, 1, u"No sound server."_s);
    EXPECT_EQ(failureOf(await(bridge.start())), u"Recording failed: No sound server.");
    machine.session.activationFailure.reset();
    EXPECT_EQ(failureOf(await(bridge.start())), u"");
    EXPECT_EQ(failureOf(await(bridge.start())), u"");
    EXPECT_EQ(machine.recorders.size(), 1U);
}

TEST_F(DictationBridgeTest, StartTellsThatTheLastDictationIsStillTranscribed)
{
    await(bridge.start());
    bridge.stop();
    EXPECT_EQ(failureOf(await(bridge.start())), u"The last dictation is still being transcribed.");
    machine.finishTranscription(u""_s);
    waitUntil([] { return shared(u"dictationState"_s) == u"done"; });
}

TEST_F(DictationBridgeTest, AStartWhileTheRecordingOfAnotherRecorderIsTranscribedIsRefused)
{
    run();
    Recorder screen(machine.platform());
    QCoro::waitFor(screen.start());
    screen.stop();
    for (const auto &ask : {&DictationBridge::start, &DictationBridge::toggle}) {
        EXPECT_EQ(failureOf(await((bridge.*ask)())), u"The last dictation is still being transcribed.");
    }
    command(u"start"_s);
    pass();
    EXPECT_EQ(shared(u"dictationCommand"_s), u"");
    EXPECT_EQ(shared(u"dictationState"_s), u"working");
    EXPECT_EQ(machine.recorders.size(), 1U);
    machine.finishTranscription(u"text"_s);
    ASSERT_TRUE(waitUntil([] { return shared(u"dictationState"_s) == u"done"; }));
    EXPECT_EQ(failureOf(await(bridge.start())), u"");
}

TEST_F(DictationBridgeTest, StopTellsThatThereIsNothingToStop)
{
    EXPECT_EQ(failureOf(bridge.stop()), u"There is no recording to stop.");
    EXPECT_TRUE(machine.journal.isEmpty());
}

TEST_F(DictationBridgeTest, AStopEndsTheRecordingOfAnotherRecorderToo)
{
    run();
    for (const bool overSuite : {true, false}) {
        SCOPED_TRACE(overSuite);
        Recorder screen(machine.platform());
        QCoro::waitFor(screen.start());
        if (overSuite) {
            command(u"stop"_s);
            pass();
        } else {
            EXPECT_EQ(failureOf(bridge.stop()), u"");
        }
        EXPECT_EQ(screen.state(), Recorder::S::working);
        machine.finishTranscription(u""_s);
        waitUntil([&] { return screen.state() == Recorder::S::done; });
    }
}

TEST_F(DictationBridgeTest, AStartWhileAnotherRecorderRecordsIsSwallowed)
{
    run();
    Recorder screen(machine.platform());
    QCoro::waitFor(screen.start());
    command(u"start"_s);
    pass();
    EXPECT_EQ(shared(u"dictationCommand"_s), u"");
    EXPECT_EQ(failureOf(await(bridge.start())), u"");
    EXPECT_EQ(machine.recorders.size(), 1U);
    EXPECT_TRUE(machine.failures.isEmpty());
}

TEST_F(DictationBridgeTest, ACancelledRecordingIsNotTranscribed)
{
    await(bridge.start());
    machine.journal.clear();
    EXPECT_EQ(failureOf(bridge.cancel()), u"");
    EXPECT_EQ(machine.journal, (Journal{u"stop"_s, u"sound 1114"_s}));
    EXPECT_EQ(bridge.recorder().state(), Recorder::S::idle);
    EXPECT_EQ(bridge.recorder().message(), u"The dictation was cancelled.");
    EXPECT_EQ(shared(u"dictationState"_s), u"idle");
    EXPECT_TRUE(machine.failures.isEmpty());
    EXPECT_EQ(machine.dictations.takeFailure(), u"The dictation was cancelled.");
}

TEST_F(DictationBridgeTest, ACancelledTranscriptionChangesNothingWhenItsAnswerComesLater)
{
    for (const bool comes : {true, false}) {
        SCOPED_TRACE(comes);
        await(bridge.start());
        bridge.stop();
        EXPECT_EQ(failureOf(bridge.cancel()), u"");
        EXPECT_EQ(bridge.recorder().state(), Recorder::S::idle);
        EXPECT_EQ(shared(u"dictationState"_s), u"idle");
        EXPECT_EQ(machine.dictations.activity(), u"idle");

        machine.journal.clear();
        if (comes) {
            machine.finishTranscription(u"late"_s);
        } else {
            machine.failTranscription(Error(u"network"_s, 42, u"It was given up."_s));
        }
        ASSERT_TRUE(waitUntil([this] { return !machine.journal.isEmpty(); }));
        EXPECT_EQ(machine.journal.size(), 1); // the background task has ended, and nothing was pasted
        EXPECT_EQ(shared(u"dictationState"_s), u"idle");
        EXPECT_EQ(shared(u"transcript"_s), u"none");
        EXPECT_EQ(shared(u"tStamp"_s), u"none");
        EXPECT_EQ(bridge.recorder().message(), u"The dictation was cancelled.");
        EXPECT_TRUE(machine.failures.isEmpty());
    }
}

TEST_F(DictationBridgeTest, CancellingTranscriptionsLeavesARecordingAlone)
{
    await(bridge.start());
    EXPECT_EQ(failureOf(bridge.cancelTranscriptions()), u"There is no dictation to cancel.");
    EXPECT_EQ(bridge.recorder().state(), Recorder::S::recording);
    EXPECT_EQ(shared(u"dictationState"_s), u"recording");
}

TEST_F(DictationBridgeTest, ACancelledTranscriptionDoesNotDisturbTheNextDictation)
{
    await(bridge.start());
    bridge.stop();
    bridge.cancel();
    EXPECT_EQ(failureOf(await(bridge.start())), u"");
    machine.finishTranscription(u"late"_s);
    ASSERT_TRUE(waitUntil([this] { return machine.journal.contains(u"end 1"); }));
    EXPECT_EQ(bridge.recorder().state(), Recorder::S::recording);
    EXPECT_EQ(shared(u"dictationState"_s), u"recording");
    bridge.stop();
    machine.finishTranscription(u"next"_s);
    ASSERT_TRUE(waitUntil([] { return shared(u"dictationState"_s) == u"done"; }));
    EXPECT_EQ(shared(u"transcript"_s), u"next");
}

TEST_F(DictationBridgeTest, AStopOrCancelTakesBackTheQuestionForTheMicrophone)
{
    machine.session.answersAtOnce = false;
    run();
    command(u"start"_s);
    pass();
    EXPECT_EQ(machine.dictations.activity(), u"starting");
    command(u"stop"_s);
    pass();
    EXPECT_EQ(shared(u"dictationCommand"_s), u"");
    ASSERT_TRUE(waitUntil([this] { return machine.dictations.activity() == u"idle"; }));
    EXPECT_EQ(machine.journal, (Journal{u"ask permission"_s, u"withdraw question"_s}));
    EXPECT_EQ(shared(u"dictationState"_s), u"idle");
    EXPECT_TRUE(machine.failures.isEmpty());
}

TEST_F(DictationBridgeTest, ItBeatsWhileTheUserIsAskedForTheMicrophone)
{
    machine.session.answersAtOnce = false;
    run();
    command(u"start"_s);
    for (int number = 2; number <= 9; ++number) {
        machine.clock.time += 0.12;
        pass();
    }
    EXPECT_EQ(alive(), machine.clock.time);
    machine.session.answer();
    EXPECT_TRUE(waitUntil([this] { return bridge.recorder().state() == Recorder::S::recording; }));
}

TEST_F(DictationBridgeTest, ItEndsWhileTheUserIsAskedForTheMicrophone)
{
    machine.session.answersAtOnce = false;
    run();
    command(u"start"_s);
    pass();
    machine.dictations.close();
    stop.request_stop();
    EXPECT_TRUE(waitUntil([this] { return ended && machine.dictations.activity() == u"idle"; }));
    EXPECT_EQ(machine.journal, (Journal{u"ask permission"_s, u"withdraw question"_s}));
}

TEST_F(DictationBridgeTest, AStopBeforeTheFirstSamplesIsObeyedWhenTheyCome)
{
    QPromise<void> samples;
    samples.start();
    machine.firstSamples = samples.future();
    run();
    command(u"start"_s);
    pass();
    command(u"stop"_s);
    pass();
    EXPECT_EQ(shared(u"dictationState"_s), u"starting");
    samples.finish();
    EXPECT_TRUE(waitUntil([] { return shared(u"dictationState"_s) == u"working"; }));
    machine.finishTranscription(u""_s);
    waitUntil([] { return shared(u"dictationState"_s) == u"done"; });
}

TEST_F(DictationBridgeTest, AStopWhileTheSoundServerIsAwaitedIsTakenAtOnceAndObeyedLater)
{
    QPromise<void> connection;
    connection.start();
    machine.session.connected = connection.future();
    run();
    command(u"start"_s);
    pass();
    command(u"stop"_s);
    pass();
    EXPECT_EQ(shared(u"dictationCommand"_s), u"");
    EXPECT_EQ(shared(u"dictationState"_s), u"starting");
    connection.finish();
    EXPECT_TRUE(waitUntil([] { return shared(u"dictationState"_s) == u"working"; }));
    machine.finishTranscription(u""_s);
    waitUntil([] { return shared(u"dictationState"_s) == u"done"; });
}

TEST_F(DictationBridgeTest, AStartThatIsCancelledEndsWithoutARecording)
{
    machine.session.answersAtOnce = false;
    const QCoro::Task<std::optional<Error>> starting = bridge.start();
    EXPECT_EQ(failureOf(bridge.cancel()), u"");
    ASSERT_TRUE(waitUntil([&] { return starting.isReady(); }));
    EXPECT_EQ(machine.journal, (Journal{u"ask permission"_s, u"withdraw question"_s}));
    EXPECT_EQ(shared(u"dictationState"_s), u"idle");
    EXPECT_EQ(bridge.recorder().message(), u"The dictation was cancelled.");
}

TEST_F(DictationBridgeTest, ARecordingIsKeptIfItsTranscriptionFails)
{
    failToTranscribe("spoken");
    EXPECT_EQ(keptRecording(), "spoken");
    EXPECT_TRUE(machine.isLastKept);
    failToTranscribe("");
    EXPECT_FALSE(machine.isLastKept);
}

TEST_F(DictationBridgeTest, ARecordingIsKeptThoughAnotherOneIsInTheFileByThen)
{
    await(bridge.start());
    putRecording("spoken");
    bridge.stop();
    putRecording("another");
    machine.failTranscription(Error(u"network"_s, 1, u"no"_s));
    ASSERT_TRUE(waitUntil([this] { return machine.dictations.activity() == u"idle"; }));
    EXPECT_EQ(keptRecording(), "spoken");
}

TEST_F(DictationBridgeTest, ARecordingIsNotKeptIfItIsTranscribedOrCancelledOrEmpty)
{
    const std::pair<const char *, std::function<void()>> rows[] = {
        {"transcribed", [this] { machine.finishTranscription(u"text"_s); }},
        {"cancelled",
         [this] {
             bridge.cancel();
             machine.failTranscription(Error(u"network"_s, 1, u"no"_s));
         }},
        {"empty", [] {}},
    };
    for (const auto &[name, finish] : rows) {
        SCOPED_TRACE(name);
        await(bridge.start());
        putRecording("spoken");
        machine.recorders.back().lock()->holdsSound = QByteArray(name) != "empty";
        machine.journal.clear();
        bridge.stop();
        finish();
        ASSERT_TRUE(waitUntil([this] { return machine.journal.filter(u"end"_s).size() == 1; }));
        EXPECT_EQ(keptRecording(), "none");
    }
}

TEST_F(DictationBridgeTest, SendingAgainHandsTheTextOverLikeAnyOther)
{
    failToTranscribe("spoken");
    machine.journal.clear();
    EXPECT_EQ(failureOf(bridge.again()), u"");
    EXPECT_EQ(shared(u"dictationState"_s), u"working");
    EXPECT_EQ(shared(u"dictationError"_s), u"none");
    EXPECT_EQ(machine.dictations.activity(), u"working");
    EXPECT_EQ(machine.dictations.takeFailure(), u"");
    machine.finishTranscription(u"text"_s);
    ASSERT_TRUE(waitUntil([] { return shared(u"dictationState"_s) == u"done"; }));
    EXPECT_EQ(machine.journal.value(1), u"transcribe failed-1.m4a");
    EXPECT_EQ(shared(u"transcript"_s), u"text");
    EXPECT_EQ(Shared::d().object(u"tStamp"_s), PropertyListValue(machine.clock.time));
    EXPECT_EQ(machine.pasteboard.string, u"text");
    EXPECT_EQ(bridge.recorder().state(), Recorder::S::idle);
    EXPECT_EQ(keptRecording(), "none");
}

TEST_F(DictationBridgeTest, ARecordingThatFailsAgainStaysKeptOnce)
{
    failToTranscribe("one");
    failToTranscribe("two");
    EXPECT_EQ(failureOf(bridge.again()), u"");
    machine.failTranscription(Error(u"network"_s, 1, u"still no"_s));
    ASSERT_TRUE(waitUntil([this] { return machine.dictations.activity() == u"idle"; }));
    EXPECT_EQ(machine.failures.last(), u"Error: still no");
    EXPECT_TRUE(machine.isLastKept);
    EXPECT_EQ(keptRecording(), "two");
    KeptRecordings::remove(*KeptRecordings::latest());
    EXPECT_EQ(keptRecording(), "one");
}

TEST_F(DictationBridgeTest, SendingAgainTellsThatThereIsNothingToSendOrThatADictationRuns)
{
    EXPECT_EQ(failureOf(bridge.again()), u"There is no recording to send again.");
    failToTranscribe("spoken");
    await(bridge.start());
    EXPECT_EQ(failureOf(bridge.again()), u"A dictation is running. Wait until it has ended.");
    bridge.stop();
    EXPECT_EQ(failureOf(bridge.again()), u"A dictation is running. Wait until it has ended.");
    machine.finishTranscription(u""_s);
    ASSERT_TRUE(waitUntil([this] { return machine.dictations.activity() == u"idle"; }));
}

TEST_F(DictationBridgeTest, CancelTellsThatThereIsNothingToCancel)
{
    EXPECT_EQ(failureOf(bridge.cancel()), u"There is no dictation to cancel.");
    EXPECT_EQ(shared(u"dictationState"_s), u"none");
}

TEST_F(DictationBridgeTest, ToggleStartsAndStops)
{
    EXPECT_EQ(failureOf(await(bridge.toggle())), u"");
    EXPECT_EQ(bridge.recorder().state(), Recorder::S::recording);
    EXPECT_EQ(failureOf(await(bridge.toggle())), u"");
    EXPECT_EQ(bridge.recorder().state(), Recorder::S::working);
    machine.finishTranscription(u""_s);
    waitUntil([] { return shared(u"dictationState"_s) == u"done"; });
}

TEST_F(DictationBridgeTest, StoppingTheLoopDuringASleepEndsItWithoutAnotherPass)
{
    run();
    const size_t passes = machine.clock.sleeps.size();
    command(u"start"_s);
    stop.request_stop();
    EXPECT_TRUE(waitUntil([this] { return ended; }));
    EXPECT_EQ(machine.clock.sleeps.size(), passes);
    EXPECT_EQ(shared(u"dictationCommand"_s), u"start");
}

TEST_F(DictationBridgeTest, TheBridgeMayGoWhileItsLoopSleeps)
{
    bool done = false;
    auto other = std::make_unique<DictationBridge>(
        machine.platform(), [](const QByteArray &) { return std::make_unique<FakeAudioPlayer>(); }, [] {});
    other->run(stop.get_token()).then([&] { done = true; });
    other.reset();
    stop.request_stop();
    EXPECT_TRUE(waitUntil([&] { return done; }));
}
