// SPDX-License-Identifier: MIT
#include "dictation/Recorder.h"
#include "dictation/DictationError.h"
#include "dictation/DictationState.h"

#include "doubles/FakeRecorderPlatform.h"
#include "platform/FileManager.h"
#include "store/LockedSuite.h"
#include "store/Shared.h"
#include "store/SuiteWriter.h"
#include "support/RefusedKey.h"
#include "support/Suite.h"
#include "support/Wait.h"
#include "support/WriteLog.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gmock/gmock.h>

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

namespace
{

const QString listening = u"Listening… tap the keyboard mic again to stop."_s;

QString sharedState()
{
    return Shared::d().string(u"dictationState"_s).value_or(u"none"_s);
}

/// What the keyboard reads of a failure, without its time; empty if there is none.
QString sharedError()
{
    const QString json = Shared::d().string(u"dictationError"_s).value_or(u""_s);
    const QJsonObject error = QJsonDocument::fromJson(json.toUtf8()).object();
    return error.isEmpty() ? json : error[u"code"].toString() + u'|' + error[u"message"].toString();
}

/// Whose first samples come when the test says so, and which has nothing on its second channel.
class SlowAudioRecorder : public FakeAudioRecorder
{
public:
    explicit SlowAudioRecorder(Journal &journal) : FakeAudioRecorder(journal) { m_firstSamples.start(); }

    QCoro::Task<bool> record() override
    {
        const QFuture<void> firstSamples = m_firstSamples.future();
        co_await qCoro(firstSamples).waitForFinished();
        const QCoro::Task<bool> recording = FakeAudioRecorder::record();
        co_return co_await recording;
    }

    [[nodiscard]] float averagePower(int channel) const override
    {
        return channel == 0 ? FakeAudioRecorder::averagePower(channel) : -160;
    }

    void giveFirstSamples() { m_firstSamples.finish(); }

private:
    QPromise<void> m_firstSamples;
};

class RecorderTest : public testing::Test
{
protected:
    FakeRecorderPlatform machine;
    Recorder recorder{machine.platform()};

    void start() { QCoro::waitFor(recorder.start()); }

    /// As the machine's, but with this one as its recorder.
    Recorder::Platform platformWith(const std::shared_ptr<AudioRecorder> &audioRecorder)
    {
        Recorder::Platform platform = machine.platform();
        platform.makeRecorder = [audioRecorder](const QString &, const AudioRecorderSettings &) {
            return audioRecorder;
        };
        return platform;
    }

    static std::vector<int> meterIntervals(const Recorder &measured)
    {
        std::vector<int> intervals;
        for (const QTimer *meter : measured.findChildren<QTimer *>()) {
            intervals.push_back(meter->interval());
        }
        return intervals;
    }

    void dictate(const QString &text)
    {
        start();
        recorder.stop();
        machine.finishTranscription(text);
        ASSERT_TRUE(waitUntil([this] { return recorder.state() != Recorder::S::working; }));
    }
};

} // namespace

TEST_F(RecorderTest, IsIdleAtFirstAndTouchesNothing)
{
    EXPECT_EQ(recorder.state(), Recorder::S::idle);
    EXPECT_EQ(recorder.message(), u"Starting…");
    EXPECT_EQ(recorder.level(), 0);
    EXPECT_FALSE(recorder.autoReset);
    EXPECT_TRUE(machine.journal.isEmpty());
    EXPECT_EQ(sharedState(), u"none");
}

TEST_F(RecorderTest, RecordsIntoTheOneFileOfTheTemporaryDirectory)
{
    EXPECT_EQ(Recorder::url(), FileManager::temporaryDirectory() + u"/dict.m4a"_s);
    start();
    EXPECT_EQ(machine.openedFiles, QStringList{Recorder::url()});
    const AudioRecorderSettings expected = {
        .format = AudioRecorderSettings::Format::Mpeg4Aac, .sampleRate = 16000, .channels = 1};
    EXPECT_EQ(machine.settings, std::vector{expected});
}

TEST_F(RecorderTest, StartingAsksThenSetsUpThenSoundsThenRecords)
{
    start();
    EXPECT_EQ(machine.journal,
              (Journal{u"ask permission"_s, u"set category"_s, u"activate"_s, u"open"_s, u"sound 1113"_s,
                       u"record"_s}));
    EXPECT_EQ(machine.session.options.toInt(), 13);
    EXPECT_EQ(recorder.state(), Recorder::S::recording);
    EXPECT_EQ(recorder.message(), listening);
    EXPECT_EQ(sharedState(), u"recording");
}

TEST_F(RecorderTest, ARefusedPermissionIsSaidAndLeavesItIdle)
{
    machine.session.permission = false;
    start();
    EXPECT_EQ(recorder.state(), Recorder::S::idle);
    EXPECT_EQ(recorder.message(), u"Microphone permission denied.");
    EXPECT_EQ(sharedState(), u"idle");
    EXPECT_EQ(machine.journal, Journal{u"ask permission"_s});
}

TEST_F(RecorderTest, ASessionThatCannotBeActivatedIsSaidAndTheStateStaysStarting)
{
    machine.session.activationFailure = Error(u"audio"_s, 1, u"No sound server."_s);
    start();
    EXPECT_EQ(recorder.state(), Recorder::S::idle);
    EXPECT_EQ(recorder.message(), u"Recording failed: No sound server.");
    EXPECT_EQ(sharedState(), u"starting");
}

TEST_F(RecorderTest, ARecorderThatCannotBeMadeIsSaidAndTheStateStaysStarting)
{
    machine.recorderFailure = Error(u"file"_s, 1, u"The disk is full."_s);
    start();
    EXPECT_EQ(recorder.message(), u"Recording failed: The disk is full.");
    EXPECT_EQ(sharedState(), u"starting");
    EXPECT_FALSE(machine.journal.contains(u"sound 1113"));
}

TEST_F(RecorderTest, EachStartThatFailsIsReportedAlsoWhenItFailsLikeTheOneBefore)
{
    machine.session.permission = false;
    start();
    start();
    machine.session.permission = true;
    machine.session.activationFailure = Error(u"audio"_s, 1, u"No sound server."_s);
    start();
    EXPECT_EQ(machine.failures,
              (QStringList{u"Microphone permission denied."_s, u"Microphone permission denied."_s,
                           u"Recording failed: No sound server."_s}));
}

TEST_F(RecorderTest, ADictationThatSucceedsReportsNothing)
{
    dictate(u"text"_s);
    EXPECT_TRUE(machine.failures.isEmpty());
}

TEST_F(RecorderTest, ARecordingThatFailsInTheMiddleIsReportedOnce)
{
    start();
    const std::shared_ptr<FakeAudioRecorder> recording = machine.recorders.back().lock();
    recording->recordingFailure.emplace(u"file"_s, 1, u"No space left on device."_s);
    ASSERT_TRUE(waitUntil([&] { return !machine.failures.isEmpty(); }));
    recording->power = 0;
    QCoro::waitFor(recording->record());
    ASSERT_TRUE(waitUntil([&] { return recorder.level() == 1; })); // the meter has looked again
    recorder.stop();
    EXPECT_EQ(machine.failures, QStringList{u"Recording failed: No space left on device."_s});
    machine.finishTranscription(u""_s);
    waitUntil([&] { return recorder.state() != Recorder::S::working; });
}

TEST_F(RecorderTest, AFailedTranscriptionIsReportedAlsoWhenTheRecorderIsGone)
{
    for (const bool isGone : {false, true}) {
        SCOPED_TRACE(isGone);
        machine.failures.clear();
        auto closing = std::make_unique<Recorder>(machine.platform());
        QCoro::waitFor(closing->start());
        closing->stop();
        if (isGone) {
            closing.reset();
        }
        machine.failTranscription(Error(u"stt"_s, 1, u"no"_s));
        EXPECT_TRUE(waitUntil([&] { return !machine.failures.isEmpty(); }));
        EXPECT_EQ(machine.failures, QStringList{u"Error: no"_s});
    }
}

TEST_F(RecorderTest, AfterAFailedStartTheNextOneWorks)
{
    machine.session.activationFailure = Error(u"audio"_s, 1, u"No sound server."_s);
    start();
    machine.session.activationFailure.reset();
    start();
    EXPECT_EQ(recorder.state(), Recorder::S::recording);
    EXPECT_EQ(sharedState(), u"recording");
}

TEST_F(RecorderTest, TheLevelFollowsTheInputPower)
{
    const std::pair<float, double> rows[] = {
        {-25.0F, 0.5}, {-60.0F, 0}, {3.0F, 1}, {-49.0F, double(1.0F / 50.0F)}, {0.0F, 1}, {-50.0F, 0}};
    start();
    for (const auto &[power, expected] : rows) {
        machine.recorders.back().lock()->power = power;
        EXPECT_TRUE(waitUntil([&] { return recorder.level() == expected; }))
            << power << " dB gave " << recorder.level();
    }
}

TEST_F(RecorderTest, TheMeterLooksTwentyTimesASecondWhileItRecordsOnly)
{
    EXPECT_EQ(meterIntervals(recorder), std::vector<int>());
    start();
    EXPECT_EQ(meterIntervals(recorder), std::vector{50});
    recorder.stop();
    EXPECT_EQ(meterIntervals(recorder), std::vector<int>());
    machine.finishTranscription(u""_s);
    waitUntil([&] { return recorder.state() != Recorder::S::working; });
}

TEST_F(RecorderTest, HearsNothingAfterThreeSecondsOfSilenceUntilSoundComes)
{
    using Hearing = Recorder::Hearing;
    QList<Hearing> heard;
    QObject::connect(&recorder, &Recorder::hearingChanged, &recorder,
                     [&] { heard.append(recorder.hearing()); });
    QElapsedTimer time;
    time.start();
    start();
    const std::shared_ptr<FakeAudioRecorder> recording = machine.recorders.back().lock();
    ASSERT_TRUE(waitUntil([&] { return recorder.hearing() == Hearing::Nothing; }));
    EXPECT_GE(time.elapsed(), 3000);
    recording->muted = true;
    ASSERT_TRUE(waitUntil([&] { return recorder.hearing() == Hearing::Muted; }));
    recording->power = -30;
    ASSERT_TRUE(waitUntil([&] { return recorder.hearing() == Hearing::Sound; }));
    recorder.cancel();
    EXPECT_EQ(heard, (QList{Hearing::Nothing, Hearing::Muted, Hearing::Sound}));
}

TEST_F(RecorderTest, TheLevelIsThatOfTheFirstChannel)
{
    const auto audioRecorder = std::make_shared<SlowAudioRecorder>(machine.journal);
    audioRecorder->power = 0;
    audioRecorder->giveFirstSamples();
    Recorder other(platformWith(audioRecorder));
    QCoro::waitFor(other.start());
    EXPECT_TRUE(waitUntil([&] { return other.level() == 1; }));
}

TEST_F(RecorderTest, TellsOnceThatSomethingHasChanged)
{
    QStringList changes;
    QObject::connect(&recorder, &Recorder::stateChanged, &recorder, [&] { changes.append(u"state"_s); });
    QObject::connect(&recorder, &Recorder::messageChanged, &recorder, [&] { changes.append(u"message"_s); });
    QObject::connect(&recorder, &Recorder::levelChanged, &recorder, [&] { changes.append(u"level"_s); });
    start();
    start();
    EXPECT_EQ(changes, (QStringList{u"state"_s, u"message"_s}));
    changes.clear();
    machine.recorders.back().lock()->power = 0;
    ASSERT_TRUE(waitUntil([&] { return recorder.level() == 1; }));
    EXPECT_EQ(changes, QStringList{u"level"_s});
    changes.clear();
    recorder.stop();
    EXPECT_EQ(changes, (QStringList{u"level"_s, u"state"_s, u"message"_s}));
    machine.finishTranscription(u""_s);
    waitUntil([&] { return recorder.state() != Recorder::S::working; });
}

TEST_F(RecorderTest, ItRecordsOnceTheFirstSamplesHaveCome)
{
    const auto audioRecorder = std::make_shared<SlowAudioRecorder>(machine.journal);
    Recorder other(platformWith(audioRecorder));
    const QCoro::Task<> starting = other.start();
    EXPECT_EQ(other.state(), Recorder::S::idle);
    EXPECT_EQ(sharedState(), u"starting");
    audioRecorder->giveFirstSamples();
    EXPECT_TRUE(waitUntil([&] { return starting.isReady(); }));
    EXPECT_EQ(other.state(), Recorder::S::recording);
    EXPECT_EQ(sharedState(), u"recording");
}

TEST_F(RecorderTest, ClosingBeforeTheFirstSamplesHaveComeLeavesTheStateStarting)
{
    const auto audioRecorder = std::make_shared<SlowAudioRecorder>(machine.journal);
    auto closing = std::make_unique<Recorder>(platformWith(audioRecorder));
    const QCoro::Task<> starting = closing->start();
    closing.reset();
    audioRecorder->giveFirstSamples();
    EXPECT_TRUE(waitUntil([&] { return starting.isReady(); }));
    EXPECT_EQ(sharedState(), u"starting");
}

TEST_F(RecorderTest, ClosingBeforeTheFirstSamplesHaveComeLeavesTheMicrophoneToTheNextRecording)
{
    const auto audioRecorder = std::make_shared<SlowAudioRecorder>(machine.journal);
    auto closing = std::make_unique<Recorder>(platformWith(audioRecorder));
    const QCoro::Task<> starting = closing->start();
    machine.journal.clear();
    closing.reset();
    EXPECT_EQ(machine.journal, Journal{u"stop"_s});
    start();
    EXPECT_EQ(recorder.state(), Recorder::S::recording);
    audioRecorder->giveFirstSamples();
    EXPECT_TRUE(waitUntil([&] { return starting.isReady(); }));
    EXPECT_EQ(sharedState(), u"recording");
}

TEST_F(RecorderTest, ClosingWhileThePermissionIsAskedForChangesNothing)
{
    for (const bool permission : {true, false}) {
        SCOPED_TRACE(permission);
        FakeRecorderPlatform asking;
        asking.session.permission = permission;
        asking.session.answersAtOnce = false;
        auto closing = std::make_unique<Recorder>(asking.platform());
        const QCoro::Task<> starting = closing->start();
        closing.reset();
        EXPECT_TRUE(waitUntil([&] { return starting.isReady(); }));
        EXPECT_EQ(asking.journal, (Journal{u"ask permission"_s, u"withdraw question"_s}));
        EXPECT_TRUE(asking.failures.isEmpty());
        EXPECT_EQ(sharedState(), u"none");
    }
}

TEST_F(RecorderTest, StoppingEndsTheRecordingAndTranscribesWithoutWaiting)
{
    start();
    machine.recorders.back().lock()->power = 0;
    ASSERT_TRUE(waitUntil([this] { return recorder.level() == 1; }));
    machine.journal.clear();
    recorder.stop();
    EXPECT_EQ(machine.journal,
              (Journal{u"stop"_s, u"sound 1114"_s, u"begin transcribe"_s, u"transcribe dict.m4a"_s}));
    EXPECT_EQ(recorder.state(), Recorder::S::working);
    EXPECT_EQ(recorder.message(), u"Transcribing…");
    EXPECT_EQ(recorder.level(), 0);
    EXPECT_EQ(sharedState(), u"working");
    machine.finishTranscription(u""_s);
    waitUntil([&] { return recorder.state() != Recorder::S::working; });
}

TEST_F(RecorderTest, ARecordingThatFailsInTheMiddleIsSaidAtOnceAndTranscribedAsFarAsItCame)
{
    start();
    machine.recorders.back().lock()->recordingFailure.emplace(u"file"_s, 1, u"No space left on device."_s);
    EXPECT_TRUE(waitUntil([&] {
        return recorder.message() == u"Recording failed: No space left on device.";
    })) << recorder.message().toStdString();
    EXPECT_EQ(recorder.state(), Recorder::S::recording);
    EXPECT_EQ(sharedState(), u"recording");
    recorder.stop();
    machine.finishTranscription(u"as far as"_s);
    EXPECT_TRUE(waitUntil([&] { return recorder.state() == Recorder::S::done; }));
    EXPECT_EQ(recorder.message(), u"as far as");
}

TEST_F(RecorderTest, AFailureThatShowsWhenTheRecordingEndsIsSaid)
{
    start();
    machine.recorders.back().lock()->failureAtStop.emplace(u"file"_s, 1, u"No space left on device."_s);
    QStringList messages;
    QObject::connect(&recorder, &Recorder::messageChanged, &recorder,
                     [&] { messages.append(recorder.message()); });
    recorder.stop();
    EXPECT_EQ(messages, (QStringList{u"Recording failed: No space left on device."_s, u"Transcribing…"_s}));
    machine.finishTranscription(u""_s);
    waitUntil([&] { return recorder.state() != Recorder::S::working; });
}

TEST_F(RecorderTest, SoundThatComesLateIsListenedTo)
{
    start();
    const std::shared_ptr<FakeAudioRecorder> recording = machine.recorders.back().lock();
    recording->recordingFailure.emplace(u"audio"_s, 1, u"No sound comes."_s);
    EXPECT_TRUE(waitUntil([&] { return recorder.message() == u"Recording failed: No sound comes."; }));
    recording->recordingFailure.reset();
    EXPECT_TRUE(waitUntil([&] { return recorder.message() == listening; }));
    EXPECT_EQ(machine.failures, QStringList{u"Recording failed: No sound comes."_s});
}

TEST_F(RecorderTest, ARecordingWithoutSoundIsNotSentAndLeavesTheLastTranscriptAlone)
{
    dictate(u"first"_s);
    const auto stamp = Shared::d().object(u"tStamp"_s);
    machine.clock.time += 10;
    start();
    machine.recorders.back().lock()->holdsSound = false;
    machine.journal.clear();
    recorder.stop();
    EXPECT_EQ(machine.journal, (Journal{u"stop"_s, u"sound 1114"_s, u"begin transcribe"_s, u"end 2"_s}));
    EXPECT_EQ(recorder.state(), Recorder::S::idle);
    EXPECT_EQ(sharedState(), u"idle");
    EXPECT_EQ(Shared::d().string(u"transcript"_s), u"first"_s);
    EXPECT_EQ(Shared::d().object(u"tStamp"_s), stamp);
    EXPECT_EQ(machine.pasteboard.string, u"first");
    const QString message =
        u"Error: Nothing was recorded, because no sound came from the microphone. Check that "
        "one is connected, then try again."_s;
    EXPECT_EQ(recorder.message(), message);
    EXPECT_EQ(machine.failures, QStringList{message});
}

TEST_F(RecorderTest, ARecordingWithoutSoundIsWorkedOnBeforeItIsIdle)
{
    start();
    machine.recorders.back().lock()->holdsSound = false;
    QStringList states;
    QObject::connect(&recorder, &Recorder::messageChanged, &recorder, [&] { states.append(sharedState()); });
    recorder.stop();
    EXPECT_EQ(states, (QStringList{u"working"_s, u"idle"_s}));
}

TEST_F(RecorderTest, WhyThereIsNoSoundIsSaidAtTheStartAndAtTheStop)
{
    start();
    const std::shared_ptr<FakeAudioRecorder> recording = machine.recorders.back().lock();
    recording->holdsSound = false;
    recording->recordingFailure.emplace(u"audio"_s, 1, u"No sound comes."_s);
    EXPECT_TRUE(waitUntil([&] { return !machine.failures.isEmpty(); }));
    EXPECT_EQ(sharedState(), u"recording");
    recorder.stop();
    EXPECT_EQ(machine.failures,
              (QStringList{u"Recording failed: No sound comes."_s, u"Error: No sound comes."_s}));
}

TEST_F(RecorderTest, ATranscriptIsHandedOverInFull)
{
    machine.clock.time = 1'800'000'123.25;
    dictate(u"hello world"_s);
    EXPECT_EQ(Shared::d().object(u"transcript"_s), PropertyListValue(u"hello world"_s));
    EXPECT_EQ(Shared::d().object(u"tStamp"_s), PropertyListValue(1'800'000'123.25));
    EXPECT_EQ(machine.pasteboard.string, u"hello world");
    EXPECT_EQ(sharedState(), u"done");
    EXPECT_EQ(recorder.state(), Recorder::S::done);
    EXPECT_EQ(recorder.message(), u"hello world");
    EXPECT_EQ(machine.journal.last(), u"end 1");
}

TEST_F(RecorderTest, WithAutoResetItIsIdleAgainAtOnceWhileTheStateReadsDone)
{
    recorder.autoReset = true;
    dictate(u"text"_s);
    EXPECT_EQ(recorder.state(), Recorder::S::idle);
    EXPECT_EQ(sharedState(), u"done");
    EXPECT_EQ(machine.pasteboard.string, u"text");
}

TEST_F(RecorderTest, StoresTheTranscriptThenItsStampThenThatItIsDone)
{
    start();
    recorder.stop();
    WriteLog log;
    machine.finishTranscription(u"text"_s);
    ASSERT_TRUE(waitUntil([this] { return recorder.state() == Recorder::S::done; }));
    EXPECT_EQ(log.keys(), (QStringList{u"transcript"_s, u"tStamp"_s, u"dictationState"_s}));
}

TEST_F(RecorderTest, TheTextIsOnThePasteboardOnceItIsStoredAndBeforeTheStateReadsDone)
{
    PropertyListDictionary storedThen;
    machine.pasteboard.onSet = [&] { storedThen = Shared::d().dictionaryRepresentation().value; };
    dictate(u"text"_s);
    EXPECT_EQ(storedThen,
              (PropertyListDictionary{{u"dictationState"_s, u"working"_s},
                                      {u"transcript"_s, u"text"_s},
                                      {u"tStamp"_s, machine.clock.time}}));
    EXPECT_EQ(sharedState(), u"done");
}

TEST_F(RecorderTest, TheStateReadsDoneOnceOtherProgramsCanReadThePasteboard)
{
    machine.pasteboard.servesAtOnce = false;
    start();
    recorder.stop();
    machine.finishTranscription(u"text"_s);
    ASSERT_TRUE(waitUntil([&] { return machine.pasteboard.string == u"text"; }));
    EXPECT_EQ(Shared::d().string(u"transcript"_s), u"text"_s); // a keyboard need not wait for the pasteboard
    EXPECT_EQ(sharedState(), u"working");
    machine.pasteboard.serve();
    EXPECT_TRUE(waitUntil([] { return sharedState() == u"done"; }));
    EXPECT_TRUE(waitUntil([&] { return recorder.state() == Recorder::S::done; }));
}

TEST_F(RecorderTest, AFailedTranscriptionIsSaidAndLeavesTheLastTranscriptAlone)
{
    dictate(u"first"_s);
    const auto stamp = Shared::d().object(u"tStamp"_s);
    machine.clock.time += 10;
    start();
    recorder.stop();
    machine.failTranscription(Error(u"stt"_s, 1, u"{\"error\":\"no key\"}"_s));
    ASSERT_TRUE(waitUntil([&] { return recorder.state() == Recorder::S::idle; }));
    EXPECT_EQ(recorder.message(), u"Error: {\"error\":\"no key\"}");
    EXPECT_EQ(sharedState(), u"idle");
    EXPECT_EQ(Shared::d().string(u"transcript"_s), u"first"_s);
    EXPECT_EQ(Shared::d().object(u"tStamp"_s), stamp);
    EXPECT_EQ(machine.pasteboard.string, u"first");
    EXPECT_EQ(machine.journal.last(), u"end 2");
}

TEST_F(RecorderTest, ATranscriptThatCannotBeStoredIsOnThePasteboardAndItsFailureIsReported)
{
    for (const char *key : {"transcript", "tStamp"}) {
        SCOPED_TRACE(key);
        machine.failures.clear();
        dictate(u"first"_s);
        const auto stamp = Shared::d().object(u"tStamp"_s);
        machine.clock.time += 10;
        const RefusedKey refused(key);
        dictate(u"second"_s);
        EXPECT_EQ(Shared::d().object(u"tStamp"_s), stamp);
        EXPECT_EQ(sharedState(), u"idle");
        EXPECT_EQ(machine.pasteboard.string, u"second");
        EXPECT_EQ(recorder.message(), u"second");
        EXPECT_EQ(machine.failures,
                  QStringList{u"Error: the text is on the clipboard only, not at the keyboard: "_s
                              + Shared::d().path() + u": no room"_s});
    }
}

TEST_F(RecorderTest, AFailureIsThereForTheKeyboardAsJson)
{
    machine.clock.time = 1'800'000'123.25;
    machine.session.permission = false;
    start();
    EXPECT_EQ(
        Shared::d().string(u"dictationError"_s),
        u"{\"at\":1800000123.25,\"code\":\"permission\",\"message\":\"Microphone permission denied.\"}"_s);
}

TEST_F(RecorderTest, TheKeyboardReadsWhatKindOfFailureItWas)
{
    machine.session.activationFailure = Error(u"audio"_s, 1, u"No sound server."_s);
    start();
    EXPECT_EQ(sharedError(), u"audio|Recording failed: No sound server."_s);

    machine.session.activationFailure.reset();
    machine.recorderFailure = Error(u"file"_s, 1, u"No room."_s);
    start();
    EXPECT_EQ(sharedError(), u"file|Recording failed: No room."_s);

    machine.recorderFailure.reset();
    start();
    machine.recorders.back().lock()->recordingFailure.emplace(u"file"_s, 1, u"No more room."_s);
    EXPECT_TRUE(waitUntil([] { return sharedError() == u"file|Recording failed: No more room."_s; }));
    recorder.stop();
    machine.failTranscription(Error(u"network"_s, 28, u"No answer."_s));
    EXPECT_TRUE(waitUntil([] { return sharedError() == u"network|Error: No answer."_s; }));

    const RefusedKey refused("tStamp");
    dictate(u"text"_s);
    EXPECT_EQ(sharedError(),
              u"store|Error: the text is on the clipboard only, not at the keyboard: "_s + Shared::d().path()
                  + u": no room"_s);
}

TEST_F(RecorderTest, TheKeyboardReadsTheLineThatIsMeantForIt)
{
    Recorder::Platform platform = machine.platform();
    platform.line = [](const QString &message) { return message.toUpper(); };
    machine.session.permission = false;
    Recorder other(platform);
    QCoro::waitFor(other.start());
    EXPECT_EQ(sharedError(), u"permission|MICROPHONE PERMISSION DENIED."_s);
    EXPECT_EQ(machine.failures, QStringList{u"Microphone permission denied."_s});
}

TEST_F(RecorderTest, TheNextStartRemovesTheFailureBeforeItAsksForThePermission)
{
    machine.session.permission = false;
    start();
    machine.session.permission = true;
    machine.session.answersAtOnce = false;
    const QCoro::Task<> starting = recorder.start();
    EXPECT_FALSE(Shared::d().object(u"dictationError"_s).has_value());
    machine.session.answer();
    EXPECT_TRUE(waitUntil([&] { return starting.isReady(); }));
}

TEST_F(RecorderTest, ADictationThatSucceedsStoresNoFailure)
{
    dictate(u"text"_s);
    EXPECT_FALSE(Shared::d().object(u"dictationError"_s).has_value());
}

TEST_F(RecorderTest, TheFailureIsStoredBeforeTheStateReadsIdle)
{
    start();
    recorder.stop();
    WriteLog log;
    machine.failTranscription(Error(u"stt"_s, 1, u"no"_s));
    ASSERT_TRUE(waitUntil([this] { return recorder.state() == Recorder::S::idle; }));
    machine.session.permission = false;
    start();
    EXPECT_EQ(log.keys(),
              (QStringList{u"dictationError"_s, u"dictationState"_s, u"dictationError"_s, u"dictationError"_s,
                           u"dictationState"_s}));
}

TEST_F(RecorderTest, ItIsTranscribingUntilTheSuiteHasTakenTheText)
{
    const SuiteWriter writer;
    start();
    recorder.stop();
    ASSERT_TRUE(waitUntil([] { return sharedState() == u"working"; }));
    LockedSuite locked;
    machine.finishTranscription(u"text"_s);
    recorder.autoReset = true;
    EXPECT_FALSE(waitUntil([this] { return !machine.dictations.isTranscribing(); }, std::chrono::seconds(1)));
    EXPECT_EQ(machine.dictations.state(), Recorder::S::working);
    locked.unlock();
    EXPECT_TRUE(waitUntil([this] { return !machine.dictations.isTranscribing(); }));
    EXPECT_EQ(machine.pasteboard.string, u"text");
    EXPECT_EQ(machine.dictations.state(), Recorder::S::idle);
}

TEST_F(RecorderTest, NothingIsRecordedWhileAnotherRecordingIsTranscribed)
{
    auto other = std::make_unique<Recorder>(machine.platform());
    QCoro::waitFor(other->start());
    other->stop();
    for (const bool isThere : {true, false}) {
        SCOPED_TRACE(isThere);
        machine.journal.clear();
        start();
        EXPECT_EQ(recorder.state(), Recorder::S::idle);
        EXPECT_EQ(recorder.message(), u"The last dictation is still being transcribed.");
        EXPECT_EQ(machine.journal, Journal());
        EXPECT_EQ(sharedState(), u"working");
        EXPECT_EQ(sharedError(), u"");
        EXPECT_TRUE(machine.failures.isEmpty());
        other.reset();
    }
    machine.finishTranscription(u"text"_s);
    ASSERT_TRUE(waitUntil([this] { return !machine.dictations.isTranscribing(); }));
    start();
    EXPECT_EQ(recorder.state(), Recorder::S::recording);
}

TEST_F(RecorderTest, ARecordingThatEndsWithItsScreenIsADictationThatWasGivenUp)
{
    auto screen = std::make_unique<Recorder>(machine.platform());
    QCoro::waitFor(screen->start());
    screen.reset();
    EXPECT_EQ(machine.dictations.takeFailure(), Recorder::cancelled());
}

TEST_F(RecorderTest, TwoNeverRecordAtOnce)
{
    start();
    Recorder other(machine.platform());
    QCoro::waitFor(other.start());
    EXPECT_EQ(other.state(), Recorder::S::idle);
    EXPECT_EQ(other.message(), u"Recording failed: Another recording is running. Stop it and try again.");
    EXPECT_EQ(machine.recorders.size(), 1U);
    EXPECT_EQ(sharedState(), u"recording");
}

TEST_F(RecorderTest, OneThatIsGoneWhileTheSessionIsActivatedRecordsNothing)
{
    QPromise<void> connection;
    connection.start();
    machine.session.connected = connection.future();
    auto closing = std::make_unique<Recorder>(machine.platform());
    const QCoro::Task<> starting = closing->start();
    EXPECT_EQ(sharedState(), u"starting");
    closing.reset();
    connection.finish();
    EXPECT_TRUE(waitUntil([&] { return starting.isReady(); }));
    EXPECT_FALSE(machine.journal.contains(u"open"_s));
}

TEST_F(RecorderTest, TellsWhatTheProcessDoesWhateverTheSuiteSays)
{
    EXPECT_EQ(machine.dictations.activity(), u"idle");
    machine.session.answersAtOnce = false;
    auto screen = std::make_unique<Recorder>(machine.platform());
    const QCoro::Task<> starting = screen->start();
    EXPECT_EQ(machine.dictations.activity(), u"starting");
    machine.session.answer();
    ASSERT_TRUE(waitUntil([&] { return starting.isReady(); }));
    EXPECT_EQ(machine.dictations.activity(), u"recording");
    screen->stop();
    screen.reset();
    EXPECT_EQ(machine.dictations.activity(), u"working");
    machine.finishTranscription(u""_s);
    EXPECT_TRUE(waitUntil([this] { return machine.dictations.activity() == u"idle"; }));

    screen = std::make_unique<Recorder>(machine.platform());
    QCoro::waitFor(screen->start());
    screen.reset();
    EXPECT_EQ(sharedState(), u"recording");
    EXPECT_EQ(machine.dictations.activity(), u"idle");
}

TEST_F(RecorderTest, NothingBeginsOnceTheApplicationEnds)
{
    start();
    machine.dictations.close();
    machine.journal.clear();
    recorder.stop();
    EXPECT_EQ(machine.journal, (Journal{u"stop"_s, u"sound 1114"_s, u"begin transcribe"_s, u"end 1"_s}));
    EXPECT_EQ(recorder.message(), u"Error: Kavrin is ending.");
    EXPECT_EQ(sharedState(), u"idle");
    machine.journal.clear();
    start();
    EXPECT_EQ(machine.journal, Journal());
    EXPECT_EQ(recorder.message(), u"Recording failed: Kavrin is ending.");
}

TEST_F(RecorderTest, AStateThatCouldNotBeStoredIsStoredLater)
{
    {
        const RefusedKey refused("dictationState");
        start();
        DictationState::republishIfFailed();
        EXPECT_EQ(sharedState(), u"none");
    }
    DictationState::republishIfFailed();
    EXPECT_EQ(sharedState(), u"recording");
}

TEST_F(RecorderTest, AFailureThatCouldNotBeStoredIsStoredLater)
{
    machine.session.permission = false;
    {
        const RefusedKey refused("dictationError");
        start();
        DictationError::republishIfFailed();
        EXPECT_EQ(sharedError(), u"");
    }
    DictationError::republishIfFailed();
    EXPECT_EQ(sharedError(), u"permission|Microphone permission denied."_s);
    test::drop(Shared::d(), u"dictationError"_s);
    DictationError::republishIfFailed();
    EXPECT_EQ(sharedError(), u"");
}

TEST_F(RecorderTest, OnlyALateStateIsStoredAgain)
{
    start();
    ASSERT_EQ(test::failureOf(Shared::d().set(u"dictationState"_s, u"changed"_s)), u"");
    DictationState::republishIfFailed();
    EXPECT_EQ(sharedState(), u"changed");
}

TEST_F(RecorderTest, StoppingWithoutARecordingTranscribesWhateverLiesThere)
{
    recorder.stop();
    EXPECT_EQ(machine.journal, (Journal{u"sound 1114"_s, u"begin transcribe"_s, u"transcribe dict.m4a"_s}));
    EXPECT_EQ(recorder.state(), Recorder::S::working);
    machine.failTranscription(Error(u"file"_s, 1, u"no file"_s));
    EXPECT_TRUE(waitUntil([&] { return recorder.state() == Recorder::S::idle; }));
}

TEST_F(RecorderTest, StartingAgainWhileRecordingMakesANewRecorderAndLetsTheOldOneGoWithoutStoppingIt)
{
    start();
    machine.journal.clear();
    start();
    EXPECT_EQ(machine.journal,
              (Journal{u"ask permission"_s, u"set category"_s, u"activate"_s, u"open"_s, u"release"_s,
                       u"sound 1113"_s, u"record"_s}));
    EXPECT_TRUE(machine.recorders.front().expired());
}

TEST_F(RecorderTest, AfterStartingTwiceTheOldMeterStillFollowsTheNewRecording)
{
    start();
    start();
    recorder.stop(); // ends the new meter only
    QCoro::waitFor(machine.recorders.back().lock()->record());
    machine.recorders.back().lock()->power = 0;
    EXPECT_TRUE(waitUntil([&] { return recorder.level() == 1; }));
    machine.finishTranscription(u""_s);
    waitUntil([&] { return recorder.state() != Recorder::S::working; });
}

TEST_F(RecorderTest, AfterStartingTwiceTheOldMeterDoesNotReplaceTheTranscriptByAFailure)
{
    start();
    start();
    const std::shared_ptr<FakeAudioRecorder> second = machine.recorders.back().lock();
    second->recordingFailure.emplace(u"file"_s, 1, u"No space left on device."_s);
    recorder.stop();
    machine.finishTranscription(u"text"_s);
    ASSERT_TRUE(waitUntil([&] { return recorder.state() == Recorder::S::done; }));
    QCoro::waitFor(second->record()); // so that the level shows when the meter has looked
    second->power = 0;
    EXPECT_TRUE(waitUntil([&] { return recorder.level() == 1; }));
    EXPECT_EQ(recorder.message(), u"text");
}

TEST_F(RecorderTest, ARecorderWithoutSamplesCountsAsRecordingAndShowsNoLevel)
{
    const auto silent = std::make_shared<FakeAudioRecorder>(machine.journal);
    silent->firstSamplesCome = false;
    silent->power = 0;
    Recorder other(platformWith(silent));
    QCoro::waitFor(other.start());
    EXPECT_EQ(other.state(), Recorder::S::recording);
    bool hasLooked = false;
    QObject::connect(other.findChild<QTimer *>(), &QTimer::timeout, &other, [&] { hasLooked = true; });
    ASSERT_TRUE(waitUntil([&] { return hasLooked; }));
    EXPECT_EQ(other.level(), 0);
}

TEST_F(RecorderTest, ATranscriptionCompletesAfterTheRecorderIsGone)
{
    auto closing = std::make_unique<Recorder>(machine.platform());
    QCoro::waitFor(closing->start());
    closing->stop();
    closing.reset();
    machine.finishTranscription(u"late text"_s);
    EXPECT_TRUE(waitUntil([] { return sharedState() == u"done"; }));
    EXPECT_EQ(Shared::d().string(u"transcript"_s), u"late text"_s);
    EXPECT_EQ(machine.pasteboard.string, u"late text");
    EXPECT_TRUE(waitUntil([&] { return machine.journal.last() == u"end 1"; }));
}

TEST_F(RecorderTest, ClosingWhileRecordingSoundsNothingAndLeavesTheStateRecording)
{
    auto closing = std::make_unique<Recorder>(machine.platform());
    QCoro::waitFor(closing->start());
    machine.journal.clear();
    closing.reset();
    EXPECT_EQ(machine.journal, Journal{u"release"_s});
    EXPECT_EQ(sharedState(), u"recording");
}
