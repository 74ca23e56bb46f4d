// SPDX-License-Identifier: MIT
#include "App/KavrinApp.h"

#include "App/UrlHost.h"
#include "dictation/DictationBridge.h"
#include "platform/linux/audio/PulseAudioPlayer.h"
#include "platform/linux/audio/PulseAudioRecorder.h"
#include "platform/linux/audio/PulseAudioSession.h"
#include "platform/linux/audio/PulseSystemSound.h"
#include "platform/linux/desktop/AddressBookContacts.h"
#include "platform/linux/desktop/DesktopPasteboard.h"
#include "platform/linux/desktop/LogindBackgroundTasks.h"
#include "platform/linux/desktop/PortalAppearance.h"
#include "platform/linux/desktop/SystemClock.h"
#include "platform/linux/network/NetworkUrlSession.h"
#include "screens/SymbolImageProvider.h"
#include "store/Shared.h"
#include "transcription/Transcriber.h"

#include <QQmlApplicationEngine>
#include <QQuickWindow>

namespace kavrin
{

struct KavrinApp::Services {
    PortalAppearance appearance;
    SystemClock clock;
    DesktopPasteboard pasteboard;
    AddressBookContacts contacts;
    LogindBackgroundTasks backgroundTasks;
    std::shared_ptr<SoundServer> soundServer = std::make_shared<SoundServer>();
    PulseAudioSession audioSession = PulseAudioSession(soundServer);
    PulseSystemSound sounds = PulseSystemSound(soundServer);
    // Goes before the others do: what it aborts then still reports to them.
    NetworkUrlSession urlSession;
    DictationBridge dictationBridge =
        DictationBridge(recorderPlatform(), PulseAudioPlayer::factory(soundServer));
    SettingsModel settings = SettingsModel(pasteboard, contacts);
    DictateModelFactory dictateModels = DictateModelFactory(recorderPlatform());
    std::stop_source stop;
    QQmlApplicationEngine engine;
    QQuickWindow *window = nullptr;

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

KavrinApp::KavrinApp() : m_services(std::make_unique<Services>())
{
    connect(&m_services->appearance, &Appearance::changed, this, &KavrinApp::appearanceChanged);
}

KavrinApp::~KavrinApp() = default;

void KavrinApp::start()
{
    openWindow();
    m_services->dictationBridge.run(m_services->stop.get_token()).then([this] { Q_EMIT stopped(); });
}

void KavrinApp::openWindow()
{
    QQmlApplicationEngine &engine = m_services->engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    engine.addImageProvider(QStringLiteral("symbol"), new SymbolImageProvider);
    engine.setInitialProperties({{QStringLiteral("app"), QVariant::fromValue(this)}});
    engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Kavrin/App/KavrinWindow.qml")));
    m_services->window = qobject_cast<QQuickWindow *>(engine.rootObjects().value(0));
    if (m_services->window == nullptr) {
        qFatal("The window of this build cannot be made.");
    }

    connect(m_services->window, &QWindow::visibleChanged, this, [this](bool visible) {
        if (visible) {
            onAppear();
        } else {
            stop();
        }
    });
    m_services->appearance.waitForFirstAnswer();
    m_services->window->show();
}

void KavrinApp::onAppear()
{
    Shared::d().set(QStringLiteral("probeApp"), Date::now().secondsSince1970);
}

void KavrinApp::activate(const QString &activationToken)
{
    if (!activationToken.isEmpty()) {
        // Where the Wayland platform looks for it.
        qputenv("XDG_ACTIVATION_TOKEN", activationToken.toUtf8());
    }
    m_services->window->show();
    m_services->window->raise();
    m_services->window->requestActivate();
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

SettingsModel *KavrinApp::settings()
{
    return &m_services->settings;
}

DictateModelFactory *KavrinApp::dictateModels()
{
    return &m_services->dictateModels;
}

bool KavrinApp::isDark() const
{
    return m_services->appearance.isDark();
}

QColor KavrinApp::accentColor() const
{
    return m_services->appearance.accentColor().value_or(QColor(Qt::transparent));
}

} // namespace kavrin
