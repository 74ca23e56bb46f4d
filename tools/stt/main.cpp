// SPDX-License-Identifier: MIT
#include "tools/stt/SpeechRecognizer.h"
#include "tools/stt/SpeechServer.h"

#include "platform/linux/desktop/CoreFiles.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QScopeGuard>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <future>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

constexpr int done = 0;
constexpr int failed = 1;
constexpr int wrongUsage = 2;

/// How long the running answers may take after the request to end.
constexpr std::chrono::milliseconds longestEnd(2500);

constexpr int noPort = -1;
constexpr int largestPort = 65535;

void printLine(FILE *stream, const QString &line)
{
    std::fprintf(stream, "%s\n", qPrintable(line));
    std::fflush(stream);
}

void complain(const QString &message)
{
    printLine(stderr, u"kavrin-stt: "_s + message);
}

/// The signals that end the service. They are blocked before the first thread starts, so that only
/// waitForEnd() gets them.
sigset_t blockEndingSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

void waitForEnd(const sigset_t &signals)
{
    int signal = 0;
    sigwait(&signals, &signal);
}

int serve(int port, const sigset_t &endingSignals)
{
    kavrin::SpeechRecognizer recognizer(QStringLiteral(KAVRIN_SPEECH_MODEL));
    kavrin::SpeechServer server(recognizer);
    printLine(stdout, server.bind(port).toString());

    std::future<void> serving = std::async(std::launch::async, [&] {
        const auto wake = qScopeGuard([] { ::kill(::getpid(), SIGTERM); });
        server.serve();
    });
    waitForEnd(endingSignals);
    server.stop();
    if (serving.wait_for(longestEnd) == std::future_status::timeout) {
        std::_Exit(done); // the threads that still wait for a connection cannot be ended
    }
    serving.get();
    return done;
}

int portOf(const QCommandLineParser &parser, const QCommandLineOption &option)
{
    bool isNumber = false;
    const int port = parser.value(option).toInt(&isNumber);
    return isNumber && port >= 0 && port <= largestPort ? port : noPort;
}

} // namespace

int main(int argc, char **argv)
{
    kavrin::leaveNoCoreFiles();
    const sigset_t endingSignals = blockEndingSignals();
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"kavrin-stt"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(KAVRIN_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Turns recorded English speech into text on this machine, without an account, a key or a "
        "network.\nAnswers POST /v1/audio/transcriptions on 127.0.0.1 as OpenAI's service does. "
        "Prints its address\non one line when it is ready, and serves until it is terminated."_s);
    const QCommandLineOption portOption(u"port"_s, u"Serve on port <N> of 127.0.0.1; 0 takes any free one."_s,
                                        u"N"_s);
    const QCommandLineOption helpOption(u"help"_s, u"Show this help."_s);
    const QCommandLineOption versionOption(u"version"_s, u"Show the version."_s);
    parser.addOptions({portOption, helpOption, versionOption});

    const bool understood = parser.parse(QCoreApplication::arguments());
    if (understood && parser.isSet(helpOption)) {
        printLine(stdout, parser.helpText().trimmed());
        return done;
    }
    if (understood && parser.isSet(versionOption)) {
        printLine(stdout, QStringLiteral("kavrin-stt " KAVRIN_VERSION));
        return done;
    }
    const int port = portOf(parser, portOption);
    if (!understood || !parser.positionalArguments().isEmpty() || port == noPort) {
        complain(understood ? u"Give a port from 0 to 65535: kavrin-stt --port N"_s : parser.errorText());
        return wrongUsage;
    }

    try {
        return serve(port, endingSignals);
    } catch (const std::exception &failure) {
        complain(QString::fromUtf8(failure.what()));
        return failed;
    }
}
