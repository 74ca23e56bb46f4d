// SPDX-License-Identifier: MIT
#include "RealDictation.h"
#include "platform/FileManager.h"
#include "platform/linux/audio/SoundFiles.h"
#include "support/PrivateDisk.h"
#include "support/PrivateSoundServer.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <algorithm>
#include <optional>
#include <random>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;
using S = Recorder::S;

constexpr int rate = 16000;

QByteArray recording()
{
    QFile file(Recorder::url());
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << file.errorString().toStdString();
    return file.readAll();
}

void writeRecording(const QByteArray &bytes)
{
    QFile file(Recorder::url());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << file.errorString().toStdString();
    ASSERT_EQ(file.write(bytes), bytes.size());
}

/// That the last request carries the whole recording, and the recording is one.
void expectTheRecordingWasSent(const ScriptedServer &service)
{
    EXPECT_EQ(probed(Recorder::url()), u"aac,16000,1"_s);
    EXPECT_TRUE(service.received().back().body.contains(recording()));
}

class RecordingFaults : public testing::Test
{
protected:
    /// Plays a second of a tone, which `recorder` has heard to its end then.
    void speak(const Recorder &recorder, double frequency)
    {
        bool heard = false;
        const auto onLevel = [&] { heard = heard || recorder.level() > 0.75; };
        const QMetaObject::Connection listening =
            QObject::connect(&recorder, &Recorder::levelChanged, &recorder, onLevel);
        m_soundServer.speak(fileOf(u"tone.wav"_s, wavOf(tone(frequency, 1, 48000, 0.5), 48000)));
        EXPECT_TRUE(waitUntil([&] { return heard && recorder.level() == 0; }));
        QObject::disconnect(listening);
    }

    PrivateSoundServer m_soundServer;
    RealDictation m_dictation;
};

/// That what was recorded is the one tone and not the other. On a busy machine the sound server pauses within
/// the tone, which makes its parts cancel each other out a little.
void expectToHear(double frequency, double notFrequency)
{
    const std::vector<float> heard = withoutSilence(decoded(Recorder::url()));
    EXPECT_GT(shareOf(frequency, heard, rate), 0.5);
    EXPECT_LT(shareOf(notFrequency, heard, rate), 0.05);
}

} // namespace

TEST_F(RecordingFaults, ASoundServerThatDoesNotRunIsSaid)
{
    m_dictation.startInVain("The sound server cannot be reached (Connection refused). Check that PipeWire or "
                            "PulseAudio is running, then try again.");
    m_soundServer.start();
    m_dictation.expectTheNextOneWorks();
}

TEST_F(RecordingFaults, ASoundServerThatDoesNotAnswerIsSaid)
{
    m_soundServer.start();
    m_soundServer.freeze();
    m_dictation.startInVain("The sound server cannot be reached (it does not answer). Check that PipeWire or "
                            "PulseAudio is running, then try again.");
    m_soundServer.kill();
    m_soundServer.start();
    m_dictation.expectTheNextOneWorks();
}

TEST_F(RecordingFaults, ASoundServerThatDiesIsSaidAndWhatItHeardIsTranscribed)
{
    ScriptedServer service;
    service.add(transcript("as far as it was heard"));
    useService(service.url(u"/"_s));
    m_soundServer.start();
    m_dictation.start();
    speak(m_dictation.recorder(), 440);
    m_soundServer.kill();
    EXPECT_TRUE(waitUntil([this] {
        return m_dictation.message()
            == "Recording failed: The microphone or the sound server went away. What was said before is "
               "kept; "
               "stop, and start again once it is back.";
    })) << m_dictation.message();
    EXPECT_EQ(m_dictation.recorder().state(), S::recording);
    EXPECT_EQ(shared(u"dictationState"_s), "recording");
    m_dictation.stop();
    EXPECT_EQ(m_dictation.message(), "as far as it was heard");
    expectTheRecordingWasSent(service);
    expectToHear(440, 880);
    m_soundServer.start();
    m_dictation.expectTheNextOneWorks();
}

TEST_F(RecordingFaults, StartingAgainWhileRecordingRecordsAnew)
{
    ScriptedServer service;
    service.add(transcript("hello"));
    useService(service.url(u"/"_s));
    m_soundServer.start();
    Recorder recorder(m_dictation.machine.platform());
    QCoro::waitFor(recorder.start());
    speak(recorder, 440);
    QCoro::waitFor(recorder.start());
    EXPECT_EQ(recorder.state(), S::recording);
    speak(recorder, 880);
    recorder.stop();
    EXPECT_TRUE(waitUntil([&] { return recorder.state() == S::done; }));
    EXPECT_EQ(recorder.message(), u"hello");
    EXPECT_EQ(service.received().size(), 1U);
    expectTheRecordingWasSent(service);
    expectToHear(880, 440);
    EXPECT_TRUE(waitUntil([this] { return m_soundServer.streams(u"source-outputs"_s).isEmpty(); }));
}

TEST_F(RecordingFaults, StartingAgainBeforeTheFirstSamplesRecordsOnce)
{
    ScriptedServer service;
    service.add(transcript("hello"));
    useService(service.url(u"/"_s));
    m_soundServer.start();
    Recorder recorder(m_dictation.machine.platform());
    QCoro::Task<> first = recorder.start();
    QCoro::Task<> second = recorder.start();
    EXPECT_TRUE(waitUntil([&] { return first.isReady() && second.isReady(); }));
    EXPECT_EQ(recorder.state(), S::recording);
    speak(recorder, 880);
    recorder.stop();
    EXPECT_TRUE(waitUntil([&] { return recorder.state() == S::done; }));
    expectTheRecordingWasSent(service);
    expectToHear(880, 440);
    EXPECT_TRUE(waitUntil([this] { return m_soundServer.streams(u"source-outputs"_s).isEmpty(); }));
}

TEST_F(RecordingFaults, StoppingWithoutARecordingAndWithoutAnOldOneIsSaid)
{
    const ScriptedServer service;
    useService(service.url(u"/"_s));
    Recorder recorder(m_dictation.machine.platform());
    QStringList messages;
    QObject::connect(&recorder, &Recorder::messageChanged, &recorder,
                     [&] { messages.append(recorder.message()); });
    recorder.stop();
    EXPECT_TRUE(waitUntil([&] { return recorder.state() == S::idle; }));
    const QString unreadable =
        u"Error: The recording %1 could not be read: No such file or directory."_s.arg(Recorder::url());
    EXPECT_EQ(messages, (QStringList{u"Transcribing…"_s, unreadable}));
    EXPECT_EQ(shared(u"dictationState"_s), "idle");
    EXPECT_TRUE(service.received().empty());
}

TEST_F(RecordingFaults, StoppingWithoutARecordingTranscribesTheOldOne)
{
    ScriptedServer service;
    service.add(transcript("hello"));
    useService(service.url(u"/"_s));
    writeRecording("what was said before");
    Recorder recorder(m_dictation.machine.platform());
    recorder.stop();
    EXPECT_TRUE(waitUntil([&] { return recorder.state() == S::done; }));
    EXPECT_EQ(recorder.message(), u"hello");
    EXPECT_EQ(shared(u"dictationState"_s), "done");
    EXPECT_TRUE(service.received().at(0).body.contains("what was said before"));
}

namespace
{

constexpr qint64 diskSize = 24576; // six pages, two seconds of noise

std::string cannotBeWritten(const QString &reason)
{
    return u"The recording \"%1\" cannot be written: %2."_s.arg(Recorder::url(), reason).toStdString();
}

/// The recording has a small disk for itself.
class DiskFaults : public testing::Test
{
protected:
    void SetUp() override
    {
        if (m_disk.refusal()) {
            GTEST_SKIP() << *m_disk.refusal();
        }
        m_soundServer.start();
    }

    PrivateDisk m_disk{FileManager::temporaryDirectory(), diskSize};
    PrivateSoundServer m_soundServer;
    RealDictation m_dictation;
};

QByteArray noise(double seconds)
{
    std::mt19937 random; // always the same
    std::uniform_real_distribution<float> distribution(-0.9F, 0.9F);
    std::vector<float> samples(static_cast<std::size_t>(seconds * rate));
    std::generate(samples.begin(), samples.end(), [&] { return distribution(random); });
    return wavOf(samples, rate);
}

} // namespace

TEST_F(DiskFaults, AFolderThatCannotBeWrittenIsSaid)
{
    for (const bool hasOldRecording : {false, true}) {
        SCOPED_TRACE(hasOldRecording);
        if (hasOldRecording) {
            writeRecording("what was said before");
        }
        m_disk.setReadOnly(true);
        m_dictation.startInVain(cannotBeWritten(u"Read-only file system"_s));
        m_disk.setReadOnly(false);
        m_dictation.expectTheNextOneWorks();
        QFile::remove(Recorder::url());
    }
}

TEST_F(DiskFaults, ADiskThatIsFullAtTheStartIsSaid)
{
    m_disk.fill();
    m_dictation.startInVain(cannotBeWritten(u"No space left on device"_s));
    m_disk.makeRoom();
    m_dictation.expectTheNextOneWorks();
}

TEST_F(DiskFaults, ADiskThatFillsUpIsSaidAndWhatFittedIsTranscribed)
{
    ScriptedServer service;
    service.add(transcript("as far as it fitted"));
    useService(service.url(u"/"_s));
    m_dictation.start();
    QProcess speaker;
    speaker.start(u"paplay"_s, {fileOf(u"noise.wav"_s, noise(20))});
    const std::string message = "Recording failed: " + cannotBeWritten(u"No space left on device"_s);
    EXPECT_TRUE(waitUntil([&] { return m_dictation.message() == message; })) << m_dictation.message();
    speaker.kill();
    speaker.waitForFinished();
    EXPECT_EQ(m_dictation.recorder().state(), S::recording);
    EXPECT_EQ(shared(u"dictationState"_s), "recording");
    m_dictation.stop();
    EXPECT_EQ(m_dictation.message(), "as far as it fitted");
    EXPECT_EQ(shared(u"transcript"_s), "as far as it fitted");
    expectTheRecordingWasSent(service);
    EXPECT_GT(decoded(Recorder::url()).size(), std::size_t(rate));
    QFile::remove(Recorder::url());
    m_dictation.expectTheNextOneWorks();
}

namespace
{

/// The suite has a small disk for itself.
class SuiteDiskFaults : public testing::Test
{
protected:
    void SetUp() override
    {
        if (m_disk.refusal()) {
            GTEST_SKIP() << *m_disk.refusal();
        }
        m_soundServer.start();
        m_dictation.emplace();
    }

    /// Until nothing fits any more, not even into what SQLite has reserved.
    void fill()
    {
        m_disk.fill();
        while (!Shared::d().set(u"filler"_s, true)) { }
    }

    static QString suiteFolder()
    {
        const QString folder = *FileManager::containerPath(Shared::builtInGroup());
        QDir().mkpath(folder);
        return folder;
    }

    PrivateDisk m_disk{suiteFolder(), qint64(1024) * 1024};
    PrivateSoundServer m_soundServer;
    std::optional<RealDictation> m_dictation;
};

} // namespace

TEST_F(SuiteDiskFaults, AFullOneKeepsTheFailureFromTheKeyboardOnlyUntilThereIsRoom)
{
    ScriptedServer service;
    service.add(transcript("not at the keyboard"));
    useService(service.url(u"/"_s));
    QStringList told;
    Recorder::Platform platform = m_dictation->machine.platform();
    platform.reportFailure = [&](const QString &message, bool) { told.append(message); };
    Recorder recorder(platform);
    recorder.autoReset = true;
    QCoro::waitFor(recorder.start());
    fill();
    recorder.stop();
    EXPECT_TRUE(waitUntil([&] { return !told.isEmpty(); }));
    EXPECT_TRUE(told.value(0).contains(u"the disk is full")) << told.value(0).toStdString();
    EXPECT_EQ(shared(u"dictationError"_s), "none");
    m_disk.makeRoom();
    EXPECT_TRUE(waitUntil([] { return shared(u"dictationState"_s) == "idle"; }));
    EXPECT_NE(shared(u"dictationError"_s).find(R"("code":"store")"), std::string::npos)
        << shared(u"dictationError"_s);
}

} // namespace kavrin::test
