// SPDX-License-Identifier: MIT
#include "App/KavrinApp.h"

#include "App/UrlHost.h"
#include "dictation/DictationBridge.h"
#include "platform/linux/audio/PulseAudioPlayer.h"
#include "platform/linux/audio/PulseAudioRecorder.h"
#include "platform/linux/audio/PulseAudioSession.h"
#include "platform/linux/audio/PulseSystemSound.h"
#include "platform/linux/desktop/DesktopPasteboard.h"
#include "platform/linux/desktop/LogindBackgroundTasks.h"
#include "platform/linux/desktop/SystemClock.h"
#include "platform/linux/network/NetworkUrlSession.h"
#include "store/Shared.h"
#include "transcription/Transcriber.h"

namespace kavrin
{

struct KavrinApp::Services {
    SystemClock clock;
    DesktopPasteboard pasteboard;
    LogindBackgroundTasks backgroundTasks;
    std::shared_ptr<SoundServer> soundServer = std::make_shared<SoundServer>();
    PulseAudioSession audioSession = PulseAudioSession(soundServer);
    PulseSystemSound sounds = PulseSystemSound(soundServer);
    // Goes before the others do: what it aborts then still reports to them.
    NetworkUrlSession urlSession;
    DictationBridge dictationBridge =
        DictationBridge(recorderPlatform(), PulseAudioPlayer::factory(soundServer));
    std::stop_source stop;

    Recorder::Platform recorderPlatform()
    {
        return {
            .session = audioSession,
            .makeRecorder = PulseAudioRecorder::factory(soundServer),
            .sounds = sounds,
            .backgroundTasks = backgroundTasks,
            .pasteboard = pasteboard,
            .clock = clock,
            .transcribe = [this](const QString &path) { return Transcriber::transcribe(path, urlSession); },
        };
    }
};

KavrinApp::KavrinApp() : m_services(std::make_unique<Services>()) { }

KavrinApp::~KavrinApp() = default;

void KavrinApp::start()
{
    Shared::d().set(QStringLiteral("probeApp"), m_services->clock.now());
    m_services->dictationBridge.run(m_services->stop.get_token()).then([this] { Q_EMIT stopped(); });
}

void KavrinApp::stop()
{
    m_services->stop.request_stop();
}

void KavrinApp::openUrl(const QString &url)
{
    if (urlHost(url) == QStringLiteral("dictate")) {
        Shared::d().set(QStringLiteral("dictationCommand"), QStringLiteral("start"));
    }
}

} // namespace kavrin
