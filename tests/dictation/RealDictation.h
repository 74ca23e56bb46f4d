// SPDX-License-Identifier: MIT
#pragma once

#include "dictation/DictationBridge.h"
#include "dictation/Dictations.h"
#include "doubles/FakeDesktop.h"
#include "platform/linux/audio/PulseAudioPlayer.h"
#include "platform/linux/audio/PulseAudioSession.h"
#include "platform/linux/audio/PulseSystemSound.h"
#include "platform/linux/desktop/SystemClock.h"
#include "platform/linux/network/NetworkUrlSession.h"
#include "store/Shared.h"
#include "support/PatientRecorder.h"
#include "support/ScriptedServer.h"
#include "support/Suite.h"
#include "support/Wait.h"
#include "transcription/Transcriber.h"

#include <gtest/gtest.h>

namespace kavrin::test
{

/// The application's session, with as much patience as a test has.
class ImpatientUrlSession final : public UrlSession
{
public:
    std::chrono::milliseconds patience = UrlRequest().timeout;

    QCoro::Task<QByteArray> data(UrlRequest request) override
    {
        request.timeout = patience;
        return m_session.data(std::move(request));
    }

private:
    NetworkUrlSession m_session;
};

/// The machine as the application has it: real sound, network and time. Only the clipboard and the background
/// tasks are fakes.
class RealRecorderPlatform
{
public:
    Journal journal;
    Dictations dictations;
    FakePasteboard pasteboard{journal};
    FakeBackgroundTasks backgroundTasks{journal};
    SystemClock clock;
    std::shared_ptr<SoundServer> soundServer = std::make_shared<SoundServer>();
    PulseAudioSession session{soundServer};
    PulseSystemSound sounds{soundServer};
    // Goes before the others do: what it aborts then still reports to them.
    ImpatientUrlSession urlSession;

    Recorder::Platform platform()
    {
        return {
            .dictations = dictations,
            .session = session,
            .makeRecorder = PulseAudioRecorder::factory(soundServer, patientWithSound),
            .sounds = sounds,
            .backgroundTasks = backgroundTasks,
            .pasteboard = pasteboard,
            .clock = clock,
            .transcribe = [this](const QString &path) { return Transcriber::transcribe(path, urlSession); },
        };
    }
};

inline std::string shared(const QString &key)
{
    return Shared::d().string(key).value_or(QStringLiteral("none")).toStdString();
}

/// Has whatever transcribes next ask `service`.
inline void useService(const QUrl &service)
{
    test::put(Shared::d(), QStringLiteral("provider"), QStringLiteral("custom"));
    test::put(Shared::d(), QStringLiteral("customURL"), service.toString());
    test::put(Shared::d(), QStringLiteral("customKey"), QStringLiteral("token"));
}

inline ScriptedAnswer transcript(const QByteArray &text)
{
    return answer("200 OK", R"({"text":")" + text + R"("})");
}

/// A bridge that serves the suite, as the application's does, and the keyboard that uses it.
class RealDictation
{
public:
    RealDictation()
    {
        m_bridge.run(m_stop.get_token()).then([this] { m_ended = true; });
    }

    ~RealDictation()
    {
        m_stop.request_stop();
        waitUntil([this] { return m_ended; });
    }

    RealDictation(const RealDictation &) = delete;
    RealDictation &operator=(const RealDictation &) = delete;

    [[nodiscard]] const Recorder &recorder() const { return m_bridge.recorder(); }
    [[nodiscard]] std::string message() const { return recorder().message().toStdString(); }

    void start()
    {
        command(QStringLiteral("start"));
        ASSERT_TRUE(waitUntil([this] { return recorder().state() == Recorder::S::recording; })) << message();
    }

    void startInVain(const std::string &description)
    {
        command(QStringLiteral("start"));
        EXPECT_TRUE(waitUntil([&] { return message() == "Recording failed: " + description; })) << message();
        EXPECT_EQ(recorder().state(), Recorder::S::idle);
        EXPECT_EQ(shared(QStringLiteral("dictationState")), "starting");
    }

    /// Returns when the service has answered, or cannot.
    void stop()
    {
        command(QStringLiteral("stop"));
        ASSERT_TRUE(waitUntil([this] { return recorder().state() == Recorder::S::idle; }));
    }

    void expectTheNextOneWorks()
    {
        ScriptedServer service;
        const QByteArray text = "dictation " + QByteArray::number(++m_successes);
        service.add(transcript(text));
        useService(service.url(QStringLiteral("/")));
        start();
        stop();
        EXPECT_EQ(shared(QStringLiteral("dictationState")), "done");
        EXPECT_EQ(shared(QStringLiteral("transcript")), text.toStdString());
        EXPECT_EQ(message(), text.toStdString());
    }

    RealRecorderPlatform machine;

private:
    /// Returns when the bridge has taken the command.
    static void command(const QString &command)
    {
        test::put(Shared::d(), QStringLiteral("dictationCommand"), command);
        ASSERT_TRUE(waitUntil([] { return shared(QStringLiteral("dictationCommand")).empty(); }));
    }

    DictationBridge m_bridge{machine.platform(), PulseAudioPlayer::factory(machine.soundServer), [] { }};
    std::stop_source m_stop;
    bool m_ended = false;
    int m_successes = 0;
};

} // namespace kavrin::test
