// SPDX-License-Identifier: MIT
#include "App/KavrinApp.h"
#include "platform/Logging.h"
#include "platform/linux/desktop/ApplicationBus.h"
#include "platform/linux/desktop/CoreFiles.h"
#include "platform/linux/desktop/InstanceLock.h"
#include "platform/linux/desktop/TerminationSignals.h"
#include "platform/linux/storage/BaseDirectories.h"
#include "store/Shared.h"

#include <QCommandLineParser>
#include <QFont>
#include <QGuiApplication>
#include <QQuickWindow>

#include <algorithm>
#include <chrono>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{

using namespace kavrin;

/// Qt's platform that draws where nobody sees it.
constexpr const char *noDisplay = "offscreen";

struct Launch {
    QString url; ///< to open; may be empty
    bool inBackground; ///< launched by a bus or a unit: there is no window until somebody wants one
};

[[noreturn]] void endWithWrongUsage(const QString &reason)
{
    std::fprintf(stderr, "kavrin: %s\nSee kavrin --help.\n", qUtf8Printable(reason));
    std::exit(2);
}

/// Reads the arguments. Ends the process on --help, --version and wrong usage.
Launch launchOf(const QCoreApplication &application)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Dictation and settings for the Kavrin keyboard."_s);
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(u"URL"_s, u"kavrin://dictate starts a dictation."_s, u"[URL]"_s);
    const QCommandLineOption background(u"background"_s,
                                        u"Serve the keyboard without a window, until one is asked for."_s);
    parser.addOption(background);
    const bool isUnderstood = parser.parse(application.arguments());
    if (!isUnderstood || parser.positionalArguments().size() > 1) {
        endWithWrongUsage(isUnderstood ? u"One URL at a time."_s : parser.errorText());
    }
    parser.process(application); // --help and --version
    const QString url = parser.positionalArguments().value(0);
    if (!url.isEmpty() && !KavrinApp::isKnownUrl(url)) {
        endWithWrongUsage(
            u"There is nothing to open at \"%1\". kavrin://dictate starts a dictation."_s.arg(url));
    }
    return {.url = url, .inBackground = parser.isSet(background)};
}

/// Hands the launch over to the running instance. Returns the exit code of this process.
int handOver(const Launch &launch)
{
    const QStringList urls = launch.url.isEmpty() ? QStringList() : QStringList{launch.url};
    const bool hasNothingToHandOver = launch.inBackground && urls.isEmpty();
    const QString failure = hasNothingToHandOver ? QString() : ApplicationBus::handOver(urls);
    if (!failure.isEmpty()) {
        std::fprintf(stderr, "kavrin: %s (The running Kavrin holds %s.)\n", qUtf8Printable(failure),
                     qUtf8Printable(Shared::lockPath()));
    }
    return failure.isEmpty() ? 0 : 1;
}

/// One process serves a suite, even if no session bus connects the processes. This function waits for a
/// process that has already released its name on the bus, because that one is about to end.
bool anotherProcessServes(InstanceLock &lock, ApplicationBus::Claim claim)
{
    constexpr std::chrono::milliseconds patience(3000);
    return !lock.take(claim == ApplicationBus::Claim::First ? patience : std::chrono::milliseconds(0));
}

/// Hands the launch over to a process that no bus reaches: what a URL asks for goes through the suite, and
/// nothing else can. Returns the exit code of this process.
int handOverThroughSuite(const Launch &launch, const InstanceLock &lock)
{
    if (launch.url.isEmpty()) {
        std::fprintf(
            stderr,
            "kavrin: Another process holds %s, so Kavrin is already running where it cannot be reached "
            "from here. End that process and try again.\n",
            qUtf8Printable(lock.path()));
        return 1;
    }
    const std::optional<Error> failure = KavrinApp::storeUrl(launch.url).result();
    if (failure) {
        std::fprintf(stderr,
                     "kavrin: Kavrin is already running, and could not be told to open the address: %s\n",
                     qUtf8Printable(failure->localizedDescription));
    }
    return failure ? 1 : 0;
}

/// The platforms of Qt that reach the display: those that the environment asks for, or else those that Qt
/// would try by itself. None if there is no display.
QByteArrayList platformsWithDisplay()
{
    if (const QByteArray wanted = qgetenv("QT_QPA_PLATFORM"); !wanted.isEmpty()) {
        return wanted.split(';');
    }
    const bool hasX = qEnvironmentVariableIsSet("DISPLAY");
    const bool isWaylandSession = hasX && qgetenv("XDG_SESSION_TYPE") == "wayland";
    QByteArrayList platforms;
    if (qEnvironmentVariableIsSet("WAYLAND_DISPLAY") || isWaylandSession) {
        platforms.append("wayland");
    }
    if (hasX) {
        platforms.append("xcb");
    }
    return platforms;
}

/// Makes Qt go without a display if it can reach none. It would end the process otherwise.
void neverNeedDisplay(QByteArrayList platforms)
{
    platforms.append(noDisplay);
    qputenv("QT_QPA_PLATFORM", platforms.join(';'));
}

/// The settings are drawn as fast without OpenGL. Its driver would take 40 ms and 80 MB at every start.
void drawWithoutOpenGl()
{
    if (!qEnvironmentVariableIsSet("QT_QUICK_BACKEND")) {
        QQuickWindow::setSceneGraphBackend(u"software"_s);
    }
}

/// Uses the interface font, in the size that the desktop asks for.
void useInterfaceFont()
{
    QFont font = QGuiApplication::font();
    font.setFamilies({u"Inter"_s, u"Noto Sans"_s, font.family()});
    QGuiApplication::setFont(font);
}

/// Says to Qt and to the desktop which application this is.
void introduceApplication()
{
    QGuiApplication::setApplicationName(u"kavrin"_s);
    QGuiApplication::setApplicationDisplayName(u"Kavrin"_s);
    QGuiApplication::setApplicationVersion(QStringLiteral(KAVRIN_VERSION));
    QGuiApplication::setDesktopFileName(u"app.kavrin.Kavrin"_s);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    useInterfaceFont();
}

/// Lets the application do what other programs ask for on the bus.
void connectBus(ApplicationBus &bus, KavrinApp &app)
{
    QObject::connect(&app, &KavrinApp::stopping, &bus, &ApplicationBus::release);
    QObject::connect(&bus, &ApplicationBus::activated, &app, &KavrinApp::activate);
    // The window does not come to the front: the user wants the text in the application that has the focus.
    QObject::connect(&bus, &ApplicationBus::openRequested, &app, [&app](const QStringList &opened) {
        std::ranges::for_each(opened, [&app](const QString &url) { app.openUrl(url); });
    });
    QObject::connect(
        &bus, &ApplicationBus::actionRequested, &app,
        [&app](const QString &action, const QVariantList &parameters, const QString &,
               const ApplicationBus::Answer &answer) { app.performAction(action, parameters).then(answer); });
}

/// Serves until it is asked to end. Returns the exit code of this process.
int serve(ApplicationBus &bus, const Launch &launch, bool isUnseen)
{
    KavrinApp app;
    const TerminationSignals termination;
    QObject::connect(&termination, &TerminationSignals::requested, &app, &KavrinApp::stop);
    QObject::connect(&app, &KavrinApp::stopped, qGuiApp, &QCoreApplication::quit, Qt::QueuedConnection);
    connectBus(bus, app);
    const bool showsWindow = !launch.inBackground && !isUnseen;
    if (showsWindow) {
        app.activate({});
    } else if (!launch.inBackground) {
        std::fputs("kavrin: There is no display. Serving without a window.\n", stderr);
    }
    app.start();
    app.openUrl(launch.url);
    return QGuiApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    leaveNoCoreFiles();
    ignoreRelativeBaseDirectories();
    Logging::setUp();
    UserDefaults::setReadPatience(UserDefaults::mainThreadPatience); // the main thread reads
    const QByteArrayList platforms = platformsWithDisplay();
    neverNeedDisplay(platforms);
    drawWithoutOpenGl();
    const QGuiApplication application(argc, argv);
    const bool isUnseen =
        QGuiApplication::platformName() == QLatin1String(noDisplay) && !platforms.contains(noDisplay);
    introduceApplication();
    const Launch launch = launchOf(application);
    qCInfo(Logging::application) << "Kavrin" << KAVRIN_VERSION << "on" << QGuiApplication::platformName()
                                 << (launch.inBackground ? "in the background" : "with a window");

    ApplicationBus bus;
    const ApplicationBus::Claim claim = bus.claim();
    qCInfo(Logging::application) << "Name on the session bus:" << claim;
    if (claim == ApplicationBus::Claim::Taken) {
        return handOver(launch);
    }
    if (isUnseen) {
        bus.refuseToActivate(u"Kavrin is already running, but was started where there is no display. "
                             "End that process and try again."_s);
    }
    InstanceLock lock(Shared::lockPath());
    return anotherProcessServes(lock, claim) ? handOverThroughSuite(launch, lock)
                                             : serve(bus, launch, isUnseen);
}
