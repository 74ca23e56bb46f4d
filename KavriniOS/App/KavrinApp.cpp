// SPDX-License-Identifier: MIT
#include "App/KavrinApp.h"

#include "App/CommandRelay.h"
#include "App/DictationBus.h"
#include "App/DictationSignals.h"
#include "App/DictationTray.h"
#include "App/FailureNotices.h"
#include "App/UrlHost.h"
#include "App/WindowState.h"
#include "codes/SaveVerificationCode.h"
#include "dictation/DictationBridge.h"
#include "dictation/Dictations.h"
#include "loopback/Loopback.h"
#include "platform/Logging.h"
#include "platform/linux/audio/PulseAudioPlayer.h"
#include "platform/linux/audio/PulseAudioRecorder.h"
#include "platform/linux/audio/PulseAudioSession.h"
#include "platform/linux/audio/PulseSystemSound.h"
#include "platform/linux/audio/SendableRecording.h"
#include "platform/linux/desktop/AddressBookContacts.h"
#include "platform/linux/desktop/DesktopNotifications.h"
#include "platform/linux/desktop/DesktopPasteboard.h"
#include "platform/linux/desktop/LogindBackgroundTasks.h"
#include "platform/linux/desktop/PortalAppearance.h"
#include "platform/linux/desktop/PortalFileChooser.h"
#include "platform/linux/desktop/StatusNotifierTray.h"
#include "platform/linux/desktop/SystemClock.h"
#include "platform/linux/desktop/TypistKey.h"
#include "platform/linux/network/EmbeddedSpeechService.h"
#include "platform/linux/network/NetworkUrlSession.h"
#include "platform/linux/storage/StateFolder.h"
#include "screens/SymbolImageProvider.h"
#include "store/DictationKeys.h"
#include "store/Prefs.h"
#include "store/SuiteWriter.h"
#include "transcription/Transcriber.h"

#include <QCoroFuture>
#include <QDBusConnection>
#include <QGuiApplication>
#include <QPointer>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QScopeGuard>
#include <QScreen>
#include <QTimer>

#include <chrono>
#include <cstdio>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

constexpr std::chrono::seconds listenInterval(3);

using Outcome = QCoro::Task<std::optional<Error>>;

/// Hands commands to the application, from any thread and at any time. A command that comes when there is no
/// application any more is dropped.
Loopback::CommandFunction relayTo(QObject *app, const std::function<void(const QString &)> &obey)
{
    // Never destroyed, because the loopback server's threads run until the process has ended.
    static auto *const relay = new CommandRelay;
    QObject::connect(relay, &CommandRelay::relayed, app, obey, Qt::QueuedConnection);
    return [](const QString &command) { Q_EMIT relay->relayed(command); };
}

QString windowStatePath()
{
    return stateFolder() + u"/window.ini"_s;
}

/// The properties of a window that comes back as it was. It is not larger than the screen.
QVariantMap properties(const WindowState &state)
{
    QVariantMap properties = {{u"initialPage"_s, state.page}, {u"previewFolded"_s, state.isPreviewFolded}};
    if (!state.size.isEmpty()) {
        const QSize size = state.size.boundedTo(QGuiApplication::primaryScreen()->availableSize());
        properties.insert(u"width"_s, size.width());
        properties.insert(u"height"_s, size.height());
    }
    return properties;
}

/// The bus on which the application looks for a tray. Without a display it looks on none, because nobody
/// would see the window that the tray opens.
QDBusConnection trayBus()
{
    const bool isSeen = QGuiApplication::platformName() != u"offscreen";
    return isSeen ? QDBusConnection::sessionBus() : QDBusConnection(QString());
}

} // namespace

struct KavrinApp::Services {
    explicit Services(KavrinApp &owner)
        : app(owner), obey(relayTo(&owner, [&owner](const QString &command) { owner.obey(command); }))
    {
    }

    KavrinApp &app;
    const Loopback::CommandFunction obey;
    SuiteWriter suiteWriter; // first, so that it ends last: it writes what the others still hand over
    PortalAppearance appearance;
    SystemClock clock;
    DesktopPasteboard pasteboard;
    AddressBookContacts contacts;
    PortalFileChooser fileChooser;
    LogindBackgroundTasks backgroundTasks;
    DesktopNotifications notifications;
    StatusNotifierTray tray = StatusNotifierTray(trayBus());
    FailureNotices failureNotices = FailureNotices(notifications);
    std::shared_ptr<SoundServer> soundServer = std::make_shared<SoundServer>();
    PulseAudioSession audioSession = PulseAudioSession(soundServer);
    PulseSystemSound sounds = PulseSystemSound(soundServer);
    Dictations dictations;
    // Destroyed before the members above, because the exchanges that it aborts still report to them.
    NetworkUrlSession urlSession;
    DictationBridge dictationBridge =
        DictationBridge(recorderPlatform([this](const QString &message, bool isKept) {
                            failureNotices.report(message, isKept);
                        }),
                        PulseAudioPlayer::factory(soundServer), [this] { listen(); });
    SettingsModel settings = SettingsModel(pasteboard, contacts, Prefs::pages(), &fileChooser);
    DictateModelFactory dictateModels = DictateModelFactory(recorderPlatform(
        [this](const QString &message, bool isKept) { app.reportScreenFailure(message, isKept); }));
    EmbeddedSpeechService localSpeech;
    TypistKey typingKey;
    GetStarted getStarted = GetStarted(localSpeech, typingKey, pasteboard);
    RecordingModel recording = RecordingModel(dictationBridge, dictations);
    DictationTray dictationTray = DictationTray(tray, dictationBridge, dictations);
    DictationSignals dictationSignals =
        DictationSignals(dictationBridge, dictations, notifications, failureNotices,
                         [this] { return app.isDictationScreenSeen(); });
    DictationBus dictationBus = DictationBus(dictationBridge, dictations, dictationSignals);
    std::stop_source stop;
    bool hasServed = false;
    // Exists only as long as the window: without Qt Quick, the process takes a quarter of the memory.
    std::unique_ptr<QQmlApplicationEngine> engine;
    QPointer<QQuickWindow> window;

    /// Tries again as long as another program has the port.
    void listen()
    {
        Loopback::shared().start(obey);
        if (Loopback::shared().boundPort() == 0) {
            QTimer::singleShot(listenInterval, &app, [this] { listen(); });
        }
    }

    QCoro::Task<QString> transcribe(QString path)
    {
        const int exchange = failureNotices.rememberKeys();
        const auto forget = qScopeGuard([this, exchange] { failureNotices.forgetKeysSoon(exchange); });
        const SendableRecording recording(path);
        const QCoro::Task<QString> transcription = Transcriber::transcribe(recording.path(), urlSession);
        co_return co_await transcription;
    }

    Recorder::Platform recorderPlatform(std::function<void(const QString &, bool)> reportFailure)
    {
        return {
            .dictations = dictations,
            .session = audioSession,
            .makeRecorder = PulseAudioRecorder::factory(soundServer),
            .sounds = sounds,
            .backgroundTasks = backgroundTasks,
            .pasteboard = pasteboard,
            .clock = clock,
            .transcribe = [this](const QString &path) { return transcribe(path); },
            .line = [this](const QString &message) { return failureNotices.line(message); },
            .reportFailure = std::move(reportFailure),
            .endTranscriptions = [this] { urlSession.endExchanges(); },
        };
    }
};

KavrinApp::KavrinApp() : m_services(std::make_unique<Services>(*this))
{
    connect(&m_services->appearance, &Appearance::changed, this, &KavrinApp::appearanceChanged);
    connect(&m_services->dictationTray, &DictationTray::openRequested, this, [this] { activate({}); });
    connect(&m_services->dictationTray, &DictationTray::quitRequested, this, &KavrinApp::stop);
    connect(&m_services->dictationTray, &DictationTray::refused, &m_services->failureNotices,
            [this](const QString &reason) { m_services->failureNotices.report(reason); });
    connect(&m_services->failureNotices, &FailureNotices::activated, this, &KavrinApp::openVoiceTyping);
    connect(&m_services->failureNotices, &FailureNotices::reported, &m_services->recording,
            &RecordingModel::fail);
    connect(&m_services->getStarted, &GetStarted::serviceChosen, &m_services->settings,
            &SettingsModel::reload);
    connect(&m_services->settings, &SettingsModel::reloaded, &m_services->getStarted, &GetStarted::refresh);
    connect(&m_services->dictations, &Dictations::stateChanged, &m_services->getStarted,
            &GetStarted::refresh);
    connect(this, &KavrinApp::damaged, this, &KavrinApp::reportDamage, Qt::QueuedConnection);
    UserDefaults::onDamage([this](const QString &text) { Q_EMIT damaged(text); });
    connect(&m_services->notifications, &Notifications::settled, this, &KavrinApp::finish);
    connect(&m_services->dictations, &Dictations::stateChanged, this, &KavrinApp::finish);
}

KavrinApp::~KavrinApp()
{
    UserDefaults::onDamage({});
    m_services->dictations.disconnect(this);
    if (m_services->window) {
        m_services->window->disconnect(this);
        keepWindowState();
    }
}

void KavrinApp::start()
{
    m_services->dictationBridge.run(m_services->stop.get_token()).then([this] {
        m_services->hasServed = true;
        finish();
    });
}

void KavrinApp::openWindow()
{
    m_services->engine = std::make_unique<QQmlApplicationEngine>();
    QQmlApplicationEngine &engine = *m_services->engine;
    engine.addImportPath(u"qrc:/qt/qml"_s);
    engine.addImageProvider(u"symbol"_s, new SymbolImageProvider);
    const WindowState state = WindowState::load(windowStatePath());
    QVariantMap initialProperties = properties(state);
    initialProperties.insert(u"app"_s, QVariant::fromValue(this));
    engine.setInitialProperties(initialProperties);
    engine.load(QUrl(u"qrc:/qt/qml/Kavrin/App/KavrinWindow.qml"_s));
    m_services->window = qobject_cast<QQuickWindow *>(engine.rootObjects().value(0));
    if (m_services->window == nullptr) {
        qFatal("The window of this build cannot be made.");
    }
    connect(m_services->window, &QWindow::visibleChanged, this, [this](bool visible) {
        qCInfo(Logging::application) << "Window" << (visible ? "opened" : "closed");
        if (visible) {
            onAppear();
        } else {
            onWindowClosed();
        }
    });
    m_services->appearance.waitForFirstAnswer();
    if (state.isMaximized) {
        m_services->window->showMaximized();
    } else {
        m_services->window->show();
    }
}

void KavrinApp::keepWindowState()
{
    const QQuickWindow &window = *m_services->window;
    WindowState state = WindowState::load(windowStatePath());
    state.isMaximized = window.windowStates().testFlag(Qt::WindowMaximized);
    if (!(window.windowStates() & (Qt::WindowMaximized | Qt::WindowFullScreen))) {
        state.size = window.size();
    }
    state.page = window.property("page").toString();
    state.isPreviewFolded = window.property("previewFolded").toBool();
    state.save(windowStatePath());
}

void KavrinApp::onWindowClosed()
{
    keepWindowState();
    m_services->window = nullptr;
    Prefs::forgetKeys();
    m_services->settings.undo()->closeWindow();
    m_services->getStarted.close();
    // Not at once, because the window is still sending its signal.
    m_services->engine.release()->deleteLater();
    if (!m_services->tray.isAvailable()) {
        stop();
    }
}

void KavrinApp::onAppear()
{
    SuiteWriter::write({{dictation::applicationProbeKey, Date::now().secondsSince1970}});
}

void KavrinApp::activate(const QString &activationToken)
{
    if (!activationToken.isEmpty()) {
        // The Wayland platform reads the token from this variable.
        qputenv("XDG_ACTIVATION_TOKEN", activationToken.toUtf8());
    }
    if (!m_services->window) {
        openWindow();
    }
    // Not show(), which would end that it is maximized.
    m_services->window->setWindowStates(m_services->window->windowStates() & ~Qt::WindowMinimized);
    m_services->window->raise();
    m_services->window->requestActivate();
}

void KavrinApp::openVoiceTyping(const QString &activationToken)
{
    activate(activationToken);
    QMetaObject::invokeMethod(m_services->window, "openPage", Q_ARG(QString, u"dictation"_s));
}

bool KavrinApp::isDictationScreenSeen() const
{
    const QQuickWindow *const window = m_services->window;
    return window && window->isActive() && window->property("dictating").toBool();
}

void KavrinApp::reportScreenFailure(const QString &message, bool isKept)
{
    if (!isDictationScreenSeen()) {
        m_services->failureNotices.report(message, isKept);
    }
}

void KavrinApp::reportDamage(const QString &text)
{
    // Not every desktop shows notifications.
    std::fprintf(stderr, "kavrin: %s\n", qUtf8Printable(text));
    m_services->notifications.show(
        {.title = u"Settings"_s, .text = text, .action = u"Open Kavrin"_s, .buttons = {}});
}

Outcome KavrinApp::performAction(QString action, QVariantList parameters)
{
    if (action == u"dictate") {
        qCInfo(Logging::application) << "Action: dictate";
        const Outcome toggling = m_services->dictationBridge.toggle();
        co_return co_await toggling;
    }
    if (action == u"reload-settings") {
        m_services->settings.reload();
        m_services->settings.undo()->offerImport();
    }
    if (action == u"expect-import" && m_services->window) {
        m_services->settings.undo()->expectImport();
    }
    if (action != u"save-code") {
        co_return std::nullopt;
    }
    qCInfo(Logging::application) << "Action: save-code";
    QString message = parameters.value(0).toString();
    if (parameters.isEmpty()) {
        const QCoro::Task<QString> clipboard = m_services->pasteboard.text();
        message = co_await clipboard;
    }
    const QFuture<std::optional<Error>> stored = SaveVerificationCode{message}.store();
    co_return co_await stored;
}

void KavrinApp::stop()
{
    Q_EMIT stopping();
    m_services->dictations.close();
    m_services->dictationSignals.close();
    m_services->stop.request_stop();
    // A transcription that fails because of this still reports its failure.
    m_services->urlSession.endExchanges();
}

/// The application has stopped when it serves nobody any more, has handed over every transcript, and has told
/// every failure.
void KavrinApp::finish()
{
    const bool isPending = m_services->dictations.isTranscribing() || m_services->notifications.isPending();
    if (m_services->hasServed && !isPending) {
        Q_EMIT stopped();
    }
}

bool KavrinApp::isKnownUrl(const QString &url)
{
    return urlHost(url) == u"dictate"_s;
}

void KavrinApp::openUrl(const QString &url)
{
    storeUrl(url).then(this, [this](const std::optional<Error> &failure) {
        if (failure) {
            obey(dictation::startCommand);
        }
    });
}

QFuture<std::optional<Error>> KavrinApp::storeUrl(const QString &url)
{
    Changes changes;
    if (isKnownUrl(url)) {
        changes = {{dictation::commandKey, dictation::startCommand}};
    }
    return SuiteWriter::write(changes);
}

/// A command that the suite did not take. Who sent it learns the outcome from the state, as with any command.
void KavrinApp::obey(const QString &command)
{
    qCInfo(Logging::application) << "Not stored, so passed on:" << command;
    if (command == dictation::startCommand) {
        m_services->dictationBridge.start();
    } else {
        m_services->dictationBridge.stop();
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

RecordingModel *KavrinApp::recording()
{
    return &m_services->recording;
}

GetStarted *KavrinApp::getStarted()
{
    return &m_services->getStarted;
}

bool KavrinApp::isDark() const
{
    return m_services->appearance.isDark();
}

QColor KavrinApp::accentColor() const
{
    return m_services->appearance.accentColor().value_or(QColor(Qt::transparent));
}

bool KavrinApp::hasHighContrast() const
{
    return m_services->appearance.hasHighContrast();
}

bool KavrinApp::hasReducedMotion() const
{
    return m_services->appearance.hasReducedMotion();
}

} // namespace kavrin
