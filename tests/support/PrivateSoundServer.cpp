// SPDX-License-Identifier: MIT
#include "support/PrivateSoundServer.h"

#include "support/Wait.h"

#include <QFile>

#include <csignal>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>

namespace kavrin::test
{

namespace
{

struct Result {
    bool succeeded;
    QString output;
};

Result run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    const bool ended = waitUntil([&] { return process.state() == QProcess::NotRunning; });
    const bool succeeded = ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    return {succeeded, QString::fromUtf8(process.readAll())};
}

QString require(const QString &program, const QStringList &arguments)
{
    const Result result = run(program, arguments);
    if (!result.succeeded) {
        throw std::runtime_error(program.toStdString() + ": " + result.output.toStdString());
    }
    return result.output;
}

} // namespace

PrivateSoundServer::PrivateSoundServer()
{
    qputenv("PULSE_SERVER", "unix:" + QFile::encodeName(socketPath()));
    m_server.setProcessChannelMode(QProcess::MergedChannels);
    // A test that is killed takes its server along.
    m_server.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
}

PrivateSoundServer::~PrivateSoundServer()
{
    kill();
}

QString PrivateSoundServer::socketPath() const
{
    return qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/sound");
}

void PrivateSoundServer::start()
{
    const QString script = qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/sound.pa");
    QFile file(script);
    if (!file.open(QIODevice::WriteOnly)) {
        throw std::runtime_error(file.errorString().toStdString());
    }
    // A sink that rewinds nothing renders every 50 ms even while nobody asks for less; the other kind would
    // let the first listener wait for two seconds.
    file.write("load-module module-native-protocol-unix auth-anonymous=1 socket="
               + QFile::encodeName(socketPath())
               + "\n"
                 "load-module module-null-sink sink_name=speaker rate=48000 channels=2 norewinds=1\n"
                 "load-module module-remap-source source_name=microphone master=speaker.monitor\n"
                 "set-default-sink speaker\n"
                 "set-default-source microphone\n");
    file.close();
    m_server.start(QStringLiteral("pulseaudio"),
                   {QStringLiteral("-n"), QStringLiteral("--daemonize=no"),
                    QStringLiteral("--exit-idle-time=-1"), QStringLiteral("--disallow-exit=false"),
                    QStringLiteral("--realtime=no"), QStringLiteral("--high-priority=no"),
                    QStringLiteral("--use-pid-file=no"), QStringLiteral("-F"), script});
    const bool answers = waitUntil([&] {
        return m_server.state() == QProcess::NotRunning
            || run(QStringLiteral("pactl"), {QStringLiteral("get-default-source")}).succeeded;
    });
    if (!answers || m_server.state() == QProcess::NotRunning) {
        throw std::runtime_error("pulseaudio: " + m_server.readAll().toStdString());
    }
}

void PrivateSoundServer::kill()
{
    m_server.kill();
    m_server.waitForFinished();
}

void PrivateSoundServer::freeze()
{
    const auto server = static_cast<pid_t>(m_server.processId());
    ::kill(server, SIGSTOP);
    siginfo_t stopped{};
    waitid(P_PID, static_cast<id_t>(server), &stopped, WSTOPPED | WNOWAIT);
}

QString PrivateSoundServer::control(const QStringList &arguments) const
{
    return require(QStringLiteral("pactl"), arguments);
}

QStringList PrivateSoundServer::streams(const QString &kind) const
{
    QStringList indexes;
    const QString list = control({QStringLiteral("list"), QStringLiteral("short"), kind});
    for (const QString &line : list.split(u'\n', Qt::SkipEmptyParts)) {
        // Index, device, client, module, format; the server's own streams have no client.
        const QStringList fields = line.split(u'\t');
        if (fields.value(2) != QStringLiteral("-")) {
            indexes.append(fields.value(0));
        }
    }
    return indexes;
}

void PrivateSoundServer::speak(const QString &wavPath) const
{
    require(QStringLiteral("paplay"), {wavPath});
}

} // namespace kavrin::test
