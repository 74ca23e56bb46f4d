// SPDX-License-Identifier: MIT
#include "platform/linux/audio/PulseAudioRecorder.h"

#include "SoundFiles.h"
#include "support/ChildProcess.h"
#include "support/PatientRecorder.h"
#include "support/PrivateSoundServer.h"
#include "support/Wait.h"

#include <QDir>
#include <QFileInfo>

#include <gmock/gmock.h>

#include <csignal>
#include <sys/resource.h>

namespace kavrin::test
{

namespace
{

constexpr int rate = 16000;

const QString noSound = QStringLiteral(
    "No sound comes from the microphone. Check that one is connected and that the sound server "
    "answers, then stop, and start again.");

/// A running sound server, a connection to it and a place for the recording.
class PulseAudioRecorderTest : public testing::Test
{
protected:
    PulseAudioRecorderTest() { m_machine.start(); }

    using Patience = PulseAudioRecorder::Patience;

    std::unique_ptr<PulseAudioRecorder> makeRecorder(Patience patience = patientWithSound)
    {
        auto recorder =
            std::make_unique<PulseAudioRecorder>(m_server, m_path, AudioRecorderSettings(), patience);
        recorder->setMeteringEnabled(true);
        return recorder;
    }

    static float power(PulseAudioRecorder &recorder)
    {
        recorder.updateMeters();
        return recorder.averagePower(0);
    }

    static QString failure(const PulseAudioRecorder &recorder)
    {
        const std::optional<Error> failure = recorder.failure();
        return failure ? failure->localizedDescription : QString();
    }

    /// The speaker plays a tone, and the recorder has heard it to its end.
    void speakTone(PulseAudioRecorder &recorder, double frequency, double seconds, double amplitude = 0.5)
    {
        m_machine.speak(
            fileOf(QStringLiteral("tone.wav"), wavOf(tone(frequency, seconds, 48000, amplitude), 48000)));
        EXPECT_TRUE(waitUntil([&] { return power(recorder) < -100; }));
    }

    [[nodiscard]] bool isMicrophoneInUse() const
    {
        return !m_machine.streams(QStringLiteral("source-outputs")).isEmpty();
    }

    void suspendMicrophone(bool suspended) const
    {
        m_machine.control({QStringLiteral("suspend-source"), QStringLiteral("microphone"),
                           suspended ? QStringLiteral("1") : QStringLiteral("0")});
    }

    PrivateSoundServer m_machine;
    std::shared_ptr<SoundServer> m_server = std::make_shared<SoundServer>();
    QString m_path = QDir::home().filePath(QStringLiteral("dict.m4a"));
};

} // namespace

TEST_F(PulseAudioRecorderTest, RecordsAToneWhole)
{
    const auto recorder = makeRecorder();
    EXPECT_TRUE(await(recorder->record()));
    speakTone(*recorder, 440, 1);
    recorder->stop();
    const std::vector<float> heard = withoutSilence(decoded(m_path));
    EXPECT_NEAR(static_cast<double>(heard.size()) / rate, 1, 0.05);
    EXPECT_GT(shareOf(440, heard, rate), 0.95);
}

TEST_F(PulseAudioRecorderTest, HonoursItsSettings)
{
    const AudioRecorderSettings settings{.sampleRate = 44100, .channels = 2};
    const auto recorder = PulseAudioRecorder::factory(m_server, patientWithSound)(m_path, settings);
    EXPECT_TRUE(await(recorder->record()));
    recorder->stop();
    EXPECT_EQ(probed(m_path), QStringLiteral("aac,44100,2"));
}

TEST_F(PulseAudioRecorderTest, RecordsOneChannelAtSixteenKilohertzByDefault)
{
    const auto recorder = makeRecorder();
    EXPECT_TRUE(await(recorder->record()));
    recorder->stop();
    EXPECT_EQ(probed(m_path), QStringLiteral("aac,16000,1"));
}

TEST_F(PulseAudioRecorderTest, SaysWhichFileCannotBeMade)
{
    m_path = QStringLiteral("/nowhere/dict.m4a");
    try {
        makeRecorder();
        FAIL() << "nothing was thrown";
    } catch (const Error &error) {
        EXPECT_THAT(error.localizedDescription.toStdString(), testing::HasSubstr("/nowhere/dict.m4a"));
    }
}

TEST_F(PulseAudioRecorderTest, IsRecordingFromTheStartToTheStop)
{
    const auto recorder = makeRecorder();
    EXPECT_FALSE(recorder->isRecording());
    QCoro::Task<bool> started = recorder->record();
    EXPECT_TRUE(recorder->isRecording());
    EXPECT_TRUE(await(std::move(started)));
    EXPECT_TRUE(recorder->isRecording());
    recorder->stop();
    EXPECT_FALSE(recorder->isRecording());
}

TEST_F(PulseAudioRecorderTest, LetsTheMicrophoneGoWhenItStops)
{
    const auto recorder = makeRecorder();
    EXPECT_TRUE(await(recorder->record()));
    EXPECT_TRUE(isMicrophoneInUse());
    recorder->stop();
    EXPECT_TRUE(waitUntil([&] { return !isMicrophoneInUse(); }));
}

TEST_F(PulseAudioRecorderTest, LetsTheMicrophoneGoWhenItStopsAtOnce)
{
    for (int round = 0; round < 10; ++round) {
        const auto recorder = makeRecorder();
        const QCoro::Task<bool> started = recorder->record();
        recorder->stop();
    }
    EXPECT_TRUE(waitUntil([&] { return !isMicrophoneInUse(); }));
}

TEST_F(PulseAudioRecorderTest, LetsTheMicrophoneGoWhenItIsDestroyed)
{
    auto recorder = makeRecorder();
    EXPECT_TRUE(await(recorder->record()));
    recorder.reset();
    EXPECT_TRUE(waitUntil([&] { return !isMicrophoneInUse(); }));
}

TEST_F(PulseAudioRecorderTest, StopsTwiceAsOnce)
{
    const auto recorder = makeRecorder();
    EXPECT_TRUE(await(recorder->record()));
    recorder->stop();
    recorder->stop();
    EXPECT_EQ(probed(m_path), QStringLiteral("aac,16000,1"));
}

TEST_F(PulseAudioRecorderTest, StopsWithoutHavingRecorded)
{
    const auto recorder = makeRecorder();
    recorder->stop();
    EXPECT_EQ(probed(m_path), QStringLiteral("aac,16000,1"));
}

TEST_F(PulseAudioRecorderTest, DoesNotRecordAgainAfterTheStop)
{
    const auto recorder = makeRecorder();
    recorder->stop();
    EXPECT_FALSE(await(recorder->record()));
    EXPECT_FALSE(recorder->isRecording());
}

TEST_F(PulseAudioRecorderTest, MetersSilence)
{
    const auto recorder = makeRecorder();
    EXPECT_TRUE(await(recorder->record()));
    EXPECT_EQ(power(*recorder), -160);
}

TEST_F(PulseAudioRecorderTest, KnowsWhetherTheMicrophoneIsMuted)
{
    const auto recorder = makeRecorder();
    EXPECT_TRUE(await(recorder->record()));
    for (const bool muted : {true, false}) {
        m_machine.control({QStringLiteral("set-source-mute"), QStringLiteral("microphone"),
                           muted ? QStringLiteral("1") : QStringLiteral("0")});
        EXPECT_TRUE(waitUntil([&] { return recorder->isMuted() == muted; }));
    }
    recorder->isMuted(); // asked, and not answered when it ends
    recorder->stop();
    EXPECT_FALSE(recorder->isMuted());
}

TEST_F(PulseAudioRecorderTest, MetersAFullScaleToneAtMinusThreeDecibels)
{
    const auto recorder = makeRecorder();
    EXPECT_TRUE(await(recorder->record()));
    const ChildProcess speaker(QStringLiteral("paplay"),
                               {fileOf(QStringLiteral("tone.wav"), wavOf(tone(440, 20, 48000), 48000))});
    EXPECT_TRUE(waitUntil([&] { return std::abs(power(*recorder) + 3.01) < 0.3; }));
}

TEST_F(PulseAudioRecorderTest, KeepsItsLevelWhereNoSamplesCame)
{
    const auto recorder = makeRecorder();
    EXPECT_TRUE(await(recorder->record()));
    const ChildProcess speaker(QStringLiteral("paplay"),
                               {fileOf(QStringLiteral("tone.wav"), wavOf(tone(440, 20, 48000), 48000))});
    EXPECT_TRUE(waitUntil([&] { return power(*recorder) > -10; }));
    recorder->stop();
    recorder->updateMeters();
    const float last = recorder->averagePower(0);
    recorder->updateMeters();
    EXPECT_EQ(recorder->averagePower(0), last);
    EXPECT_GT(last, -10);
}

TEST_F(PulseAudioRecorderTest, MetersNothingUnlessEnabled)
{
    const auto recorder = makeRecorder();
    recorder->setMeteringEnabled(false);
    EXPECT_TRUE(await(recorder->record()));
    m_machine.speak(fileOf(QStringLiteral("tone.wav"), wavOf(tone(440, 0.3, 48000), 48000)));
    EXPECT_EQ(power(*recorder), -160);
}

TEST_F(PulseAudioRecorderTest, KnowsOnlyItsOwnChannels)
{
    const auto recorder = makeRecorder();
    EXPECT_EQ(recorder->averagePower(-1), -160);
    EXPECT_EQ(recorder->averagePower(1), -160);
}

TEST_F(PulseAudioRecorderTest, SaysNoWhereNoServerRuns)
{
    m_machine.kill();
    const auto recorder = makeRecorder();
    EXPECT_FALSE(await(recorder->record()));
    EXPECT_FALSE(recorder->isRecording());
}

TEST_F(PulseAudioRecorderTest, SaysNoWhereThereIsNoMicrophone)
{
    m_machine.control({QStringLiteral("unload-module"), QStringLiteral("module-remap-source")});
    m_machine.control({QStringLiteral("unload-module"), QStringLiteral("module-null-sink")});
    const auto recorder = makeRecorder();
    EXPECT_FALSE(await(recorder->record()));
    EXPECT_FALSE(recorder->isRecording());
    EXPECT_EQ(failure(*recorder), noSound);
    recorder->stop();
    EXPECT_FALSE(recorder->hasSound());
}

TEST_F(PulseAudioRecorderTest, SaysNoButWaitsOnWhereTheServerHangs)
{
    m_server->connect();
    m_machine.freeze();
    const auto recorder = makeRecorder({.toFail = std::chrono::hours(1)});
    EXPECT_FALSE(await(recorder->record()));
    EXPECT_EQ(failure(*recorder), u"");
}

TEST_F(PulseAudioRecorderTest, SaysWhatToDoWhereTheServerHangsForLong)
{
    m_server->connect();
    m_machine.freeze();
    const auto recorder = makeRecorder(Patience{});
    EXPECT_FALSE(await(recorder->record()));
    EXPECT_TRUE(waitUntil([&] { return failure(*recorder) == noSound; }));
    recorder->stop();
    EXPECT_FALSE(recorder->hasSound());
}

TEST_F(PulseAudioRecorderTest, GoesOnWaitingForAMicrophoneThatIsSilentAtFirst)
{
    suspendMicrophone(true);
    const auto recorder = makeRecorder(Patience{});
    EXPECT_FALSE(await(recorder->record()));
    EXPECT_TRUE(recorder->isRecording());
    EXPECT_TRUE(waitUntil([&] { return failure(*recorder) == noSound; }));
    suspendMicrophone(false);
    speakTone(*recorder, 440, 0.5);
    EXPECT_EQ(failure(*recorder), u"");
    recorder->stop();
    EXPECT_TRUE(recorder->hasSound());
    EXPECT_GT(shareOf(440, withoutSilence(decoded(m_path)), rate), 0.9);
}

TEST_F(PulseAudioRecorderTest, ConnectsAgainAfterTheServerWasRestarted)
{
    m_server->connect();
    m_machine.kill();
    m_machine.start();
    const auto recorder = makeRecorder();
    EXPECT_TRUE(await(recorder->record()));
}

TEST_F(PulseAudioRecorderTest, KeepsWhatItHeardWhenTheServerDies)
{
    const auto recorder = makeRecorder();
    EXPECT_TRUE(await(recorder->record()));
    speakTone(*recorder, 440, 0.7);
    m_machine.kill();
    EXPECT_TRUE(waitUntil([&] { return !recorder->isRecording(); }));
    EXPECT_EQ(failure(*recorder),
              QStringLiteral("The microphone or the sound server went away. What was said before is kept; "
                             "stop, and start again once it is back."));
    recorder->stop();
    const std::vector<float> heard = withoutSilence(decoded(m_path));
    EXPECT_NEAR(static_cast<double>(heard.size()) / rate, 0.7, 0.05);
    EXPECT_GT(shareOf(440, heard, rate), 0.95);
}

TEST_F(PulseAudioRecorderTest, KeepsWhatFittedOnAFullDisk)
{
    std::signal(SIGXFSZ, SIG_IGN);
    const auto recorder = makeRecorder();
    const QString speech = fileOf(QStringLiteral("tone.wav"), wavOf(tone(440, 3, 48000, 0.5), 48000));
    const rlimit limit{12000, RLIM_INFINITY};
    EXPECT_TRUE(await(recorder->record()));
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    m_machine.speak(speech);
    EXPECT_TRUE(waitUntil([&] { return recorder->failure().has_value(); }));
    EXPECT_EQ(failure(*recorder),
              QStringLiteral("The recording \"%1\" cannot be written: File too large.").arg(m_path));
    recorder->stop();
    const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &unlimited), 0);
    EXPECT_GT(decoded(m_path).size(), 0.5 * rate);
}

TEST_F(PulseAudioRecorderTest, DoesNotHarmAnotherOnTheSamePath)
{
    const auto older = makeRecorder();
    EXPECT_TRUE(await(older->record()));
    speakTone(*older, 440, 0.3);
    const auto newer = makeRecorder();
    EXPECT_TRUE(await(newer->record()));
    older->stop();
    speakTone(*newer, 880, 0.3);
    newer->stop();
    const std::vector<float> heard = withoutSilence(decoded(m_path));
    EXPECT_GT(shareOf(880, heard, rate), 0.9);
}

TEST_F(PulseAudioRecorderTest, AnswersNoWhenItIsDestroyedBeforeTheFirstSamples)
{
    m_server->connect();
    m_machine.freeze();
    auto recorder = makeRecorder();
    QCoro::Task<bool> started = recorder->record();
    recorder.reset();
    EXPECT_FALSE(await(std::move(started)));
}

TEST_F(PulseAudioRecorderTest, AnswersNoWhenItIsStoppedBeforeTheFirstSamples)
{
    m_server->connect();
    m_machine.freeze();
    const auto recorder = makeRecorder();
    QCoro::Task<bool> started = recorder->record();
    recorder->stop();
    EXPECT_FALSE(await(std::move(started)));
}

TEST_F(PulseAudioRecorderTest, StopsAtOnceWhenTheServerHangs)
{
    const auto recorder = makeRecorder();
    EXPECT_TRUE(await(recorder->record()));
    m_machine.freeze();
    recorder->stop();
    EXPECT_EQ(probed(m_path), QStringLiteral("aac,16000,1"));
}

TEST_F(PulseAudioRecorderTest, StartsAndStopsAHundredTimes)
{
    const auto openFiles = [] {
        return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System).size();
    };
    qsizetype before = 0;
    for (int round = 0; round < 100; ++round) {
        SCOPED_TRACE(round);
        const auto recorder = makeRecorder();
        ASSERT_TRUE(await(recorder->record()));
        recorder->stop();
        if (round == 0) {
            before = openFiles();
        }
    }
    EXPECT_EQ(openFiles(), before);
    EXPECT_TRUE(waitUntil([&] { return !isMicrophoneInUse(); }));
}

} // namespace kavrin::test
