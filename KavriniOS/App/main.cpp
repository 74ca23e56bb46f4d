// SPDX-License-Identifier: MIT
#include "App/KavrinApp.h"
#include "platform/Logging.h"
#include "platform/linux/desktop/ApplicationBus.h"
#include "platform/linux/desktop/TerminationSignals.h"
#include "store/Shared.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QFont>
#include <QGuiApplication>
#include <QLockFile>
#include <QQuickWindow>

#include <algorithm>
#include <chrono>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{

using namespace kavrin;

struct Launch {
    QString url; ///< to open; may be empty
    bool inBackground; ///< launched by a bus or a unit: there is no window until somebody wants one
};

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
        const QString reason = isUnderstood ? u"One URL at a time."_s : parser.errorText();
        std::fprintf(stderr, "kavrin: %s\nSee kavrin --help.\n", qUtf8Printable(reason));
        std::exit(2);
    }
    parser.process(application); // --help and --version
    return {.url = parser.positionalArguments().value(0), .inBackground = parser.isSet(background)};
}

/// Hands the launch over to the running instance. Returns the exit code of this process.
int handOver(const Launch &launch, const QStringList &urls)
{
    const bool hasNothingToHandOver = launch.inBackground && urls.isEmpty();
    const QString failure = hasNothingToHandOver ? QString() : ApplicationBus::handOver(urls);
    if (!failure.isEmpty()) {
        std::fprintf(stderr, "kavrin: %s\n", qUtf8Printable(failure));
    }
    return failure.isEmpty() ? 0 : 1;
}

/// One process serves a suite, even if no session bus connects the processes. If the lock cannot be made at
/// all, serving goes on without it. This function waits for a process that has already released its name on
/// the bus, because that one is about to end.
bool anotherProcessServes(QLockFile &lock, ApplicationBus::Claim claim)
{
    constexpr std::chrono::milliseconds patience(3000);
    lock.setStaleLockTime(0);
    const int limit = claim == ApplicationBus::Claim::First ? int(patience.count()) : 0;
    return !lock.tryLock(limit) && lock.error() == QLockFile::LockFailedError;
}

/// Whether there is no display. The desktop, or the program that starts this process, would name one.
bool lacksDisplay()
{
    return !qEnvironmentVariableIsSet("DISPLAY") && !qEnvironmentVariableIsSet("WAYLAND_DISPLAY")
        && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM");
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

} // namespace

int main(int argc, char **argv)
{
    Logging::setUp();
    UserDefaults::setReadPatience(std::chrono::milliseconds(100)); // the main thread reads
    const bool isUnseen = lacksDisplay();
    if (isUnseen) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    drawWithoutOpenGl();
    const QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName(u"kavrin"_s);
    QGuiApplication::setApplicationDisplayName(u"Kavrin"_s);
    QGuiApplication::setApplicationVersion(QStringLiteral(KAVRIN_VERSION));
    QGuiApplication::setDesktopFileName(u"app.kavrin.Kavrin"_s);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    useInterfaceFont();

    const Launch launch = launchOf(application);
    qCInfo(Logging::application) << "Kavrin" << KAVRIN_VERSION << "on" << QGuiApplication::platformName()
                                 << (launch.inBackground ? "in the background" : "with a window");
    const QStringList urls = launch.url.isEmpty() ? QStringList() : QStringList{launch.url};
    ApplicationBus bus;
    const ApplicationBus::Claim claim = bus.claim();
    qCInfo(Logging::application) << "Name on the session bus:" << claim;
    if (claim == ApplicationBus::Claim::Taken) {
        return handOver(launch, urls);
    }
    if (isUnseen) {
        bus.refuseToActivate(u"Kavrin is already running, but was started where there is no display. "
                             "End that process and try again."_s);
    }
    QLockFile lock(QFileInfo(Shared::d().path()).path() + u"/application.lock"_s);
    if (anotherProcessServes(lock, claim)) {
        KavrinApp::storeUrl(launch.url);
        if (urls.isEmpty()) {
            std::fputs("Kavrin is already running.\n", stderr);
        }
        return 0;
    }

    KavrinApp app;
    const TerminationSignals termination;
    QObject::connect(&termination, &TerminationSignals::requested, &app, &KavrinApp::stop);
    QObject::connect(&app, &KavrinApp::stopping, &bus, &ApplicationBus::release);
    QObject::connect(&app, &KavrinApp::stopped, &application, &QCoreApplication::quit, Qt::QueuedConnection);
    QObject::connect(&bus, &ApplicationBus::activated, &app, &KavrinApp::activate);
    // The window does not come to the front: the user wants the text in the application that has the focus.
    QObject::connect(&bus, &ApplicationBus::openRequested, &app, [&app](const QStringList &opened) {
        std::ranges::for_each(opened, [&app](const QString &url) { app.openUrl(url); });
    });
    QObject::connect(
        &bus, &ApplicationBus::actionRequested, &app,
        [&app](const QString &action, const QVariantList &parameters, const QString &,
               const ApplicationBus::Answer &answer) { app.performAction(action, parameters).then(answer); });
    const bool showsWindow = !launch.inBackground && !isUnseen;
    if (showsWindow) {
        app.activate({});
    }
    app.start();
    app.openUrl(launch.url);
    return QGuiApplication::exec();
}
