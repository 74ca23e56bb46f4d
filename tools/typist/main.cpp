// SPDX-License-Identifier: MIT
#include "tools/typist/SessionLock.h"
#include "tools/typist/TypistBus.h"

#include "platform/Logging.h"
#include "platform/UserDefaults.h"
#include "platform/linux/desktop/CoreFiles.h"
#include "platform/linux/desktop/SystemClock.h"
#include "platform/linux/desktop/TerminationSignals.h"
#include "platform/linux/storage/BaseDirectories.h"
#include "platform/linux/typing/PortalShortcut.h"
#include "platform/linux/typing/findTyping.h"
#include "store/SuiteWriter.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <optional>

using namespace Qt::StringLiterals;

namespace
{

using namespace kavrin;

enum ExitCode { Failed = 1, WrongUsage = 2 };

/// Ends the process on --help, --version and wrong usage.
void readArguments(const QCoreApplication &application)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Types what you dictate where the cursor is. kavrinctl type is its key.\n"
        "Serves app.kavrin.Typist on the session bus until it is terminated."_s);
    parser.addHelpOption();
    parser.addVersionOption();
    const bool isUnderstood = parser.parse(application.arguments());
    if (!isUnderstood || !parser.positionalArguments().isEmpty()) {
        std::fprintf(stderr, "kavrin-typist: %s\nSee kavrin-typist --help.\n",
                     isUnderstood ? "It takes no arguments." : qUtf8Printable(parser.errorText()));
        std::exit(WrongUsage);
    }
    parser.process(application); // --help and --version
}

/// The name of the way, or why there is none.
QString wayOfTyping(PortalKeyboard &keyboard)
{
    const auto [typing, obstacle] = findTyping(keyboard);
    return obstacle ? obstacle->localizedDescription : typing->name();
}

void reportDamage(const QString &text)
{
    std::fprintf(stderr, "kavrin-typist: %s\n", qUtf8Printable(text));
}

int serve()
{
    // First, because whoever sees the name on the bus may ask this process to end.
    const TerminationSignals termination;
    const SuiteWriter suiteWriter;
    SystemClock clock;
    RunningKavrin kavrin;
    PortalKeyboard keyboard;
    const auto find = [&keyboard] { return findTyping(keyboard); };
    Typist typist({.kavrin = kavrin, .clock = clock, .findTyping = find, .isLocked = isSessionLocked});
    std::optional<PortalShortcut> shortcut;
    TypistBus bus(typist,
                  {.way = [&keyboard] { return wayOfTyping(keyboard); },
                   .shortcut = [&shortcut] { return shortcut->name(); },
                   .askForShortcut = [&shortcut] { return shortcut->askAgain(); }});
    if (!bus.claim()) {
        std::fputs("kavrin-typist: Another one is running, or there is no session bus.\n", stderr);
        return Failed;
    }
    shortcut.emplace(); // after the claim: a second typist asks for no keys
    QObject::connect(&*shortcut, &Shortcut::pressed, &typist, [&typist] { typist.press(); });
    QObject::connect(&*shortcut, &Shortcut::released, &typist, &Typist::release);
    QObject::connect(&termination, &TerminationSignals::requested, &bus, &TypistBus::release);
    QObject::connect(&termination, &TerminationSignals::requested, &typist, &Typist::stop);
    QObject::connect(&typist, &Typist::stopped, qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    leaveNoCoreFiles();
    ignoreRelativeBaseDirectories();
    Logging::setUp();
    UserDefaults::setReadPatience(UserDefaults::mainThreadPatience); // the main thread reads
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"kavrin-typist"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(KAVRIN_VERSION));
    readArguments(application);
    UserDefaults::onDamage(reportDamage);
    return serve();
}
