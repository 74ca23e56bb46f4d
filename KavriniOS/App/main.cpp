// SPDX-License-Identifier: MIT
#include "App/KavrinApp.h"
#include "platform/linux/desktop/ApplicationBus.h"
#include "platform/linux/desktop/TerminationSignals.h"
#include "store/Shared.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QFont>
#include <QGuiApplication>
#include <QLockFile>
#include <QLoggingCategory>
#include <QStandardPaths>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace
{

using namespace kavrin;

/// The URL to open, or the empty string. Ends the process on --help, --version and wrong usage.
QString urlArgument(const QCoreApplication &application)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Dictation and settings for the Kavrin keyboard."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("URL"),
                                 QStringLiteral("kavrin://dictate starts a dictation."),
                                 QStringLiteral("[URL]"));
    const bool isUnderstood = parser.parse(application.arguments());
    if (!isUnderstood || parser.positionalArguments().size() > 1) {
        const QString reason = isUnderstood ? QStringLiteral("One URL at a time.") : parser.errorText();
        std::fprintf(stderr, "kavrin: %s\nSee kavrin --help.\n", qUtf8Printable(reason));
        std::exit(2);
    }
    parser.process(application); // --help and --version
    return parser.positionalArguments().value(0);
}

/// Hands over to the running instance. Returns the exit code of this process.
int handOver(const QStringList &urls)
{
    if (ApplicationBus::handOver(urls)) {
        return 0;
    }
    std::fputs("kavrin: Kavrin is already running, but does not answer. End that process and try again.\n",
               stderr);
    return 1;
}

/// One process serves a suite, also where no session bus tells one from the other. Where the lock cannot be
/// made at all, serving goes on without it.
bool anotherProcessServes(QLockFile &lock)
{
    lock.setStaleLockTime(0);
    return !lock.tryLock() && lock.error() == QLockFile::LockFailedError;
}

void useOffscreenWithoutDisplay()
{
    const bool hasDisplay =
        qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
    if (!hasDisplay && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
}

/// Mesa maps a file with room for its shaders into memory, and touching it on a full disk kills the process.
void useNoShaderCacheOnFullDisk()
{
    constexpr std::uintmax_t enough = 16ULL * 1024 * 1024;
    const QStringList folders = {QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation),
                                 QDir::homePath()};
    for (const QString &folder : folders) {
        std::error_code error;
        if (std::filesystem::space(folder.toStdU16String(), error).available < enough) {
            qputenv("MESA_SHADER_CACHE_DISABLE", "true");
        }
    }
}

/// The interface font, in the size that the desktop asks for.
void useInterfaceFont()
{
    QFont font = QGuiApplication::font();
    font.setFamilies({QStringLiteral("Inter"), QStringLiteral("Noto Sans"), font.family()});
    QGuiApplication::setFont(font);
}

} // namespace

int main(int argc, char **argv)
{
    // Nothing is logged unless QT_LOGGING_RULES asks for it.
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false\n*.warning=false"));
    useOffscreenWithoutDisplay();
    useNoShaderCacheOnFullDisk();
    const QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("kavrin"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Kavrin"));
    QGuiApplication::setApplicationVersion(QStringLiteral(KAVRIN_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("app.kavrin.Kavrin"));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    useInterfaceFont();

    const QString url = urlArgument(application);
    const QStringList urls = url.isEmpty() ? QStringList() : QStringList{url};
    ApplicationBus bus;
    if (bus.claim() == ApplicationBus::Claim::Taken) {
        return handOver(urls);
    }
    QLockFile lock(QFileInfo(Shared::d().path()).path() + QStringLiteral("/application.lock"));
    if (anotherProcessServes(lock)) {
        KavrinApp::openUrl(url);
        if (url.isEmpty()) {
            std::fputs("Kavrin is already running.\n", stderr);
        }
        return 0;
    }

    KavrinApp app;
    const TerminationSignals termination;
    QObject::connect(&termination, &TerminationSignals::requested, &app, &KavrinApp::stop);
    QObject::connect(&app, &KavrinApp::stopped, &application, &QCoreApplication::quit, Qt::QueuedConnection);
    QObject::connect(&bus, &ApplicationBus::activated, &app, &KavrinApp::activate);
    // The window stays where it is: the user wants the text in the application that has the focus.
    QObject::connect(&bus, &ApplicationBus::openRequested, &app,
                     [](const QStringList &opened) { std::ranges::for_each(opened, &KavrinApp::openUrl); });
    app.start();
    KavrinApp::openUrl(url);
    return QGuiApplication::exec();
}
