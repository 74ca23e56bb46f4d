// SPDX-License-Identifier: MIT
#include "support/PrivateSoundServer.h"

#include "support/Wait.h"

#include <QFile>

#include <stdexcept>

namespace kavrin::test
{

namespace
{

QString require(const QString &program, const QStringList &arguments)
{
    ChildProcess process(program, arguments);
    if (!process.succeeds()) {
        throw std::runtime_error(program.toStdString() + ": " + process.output().toStdString());
    }
    return process.output();
}

bool answers()
{
    return ChildProcess(QStringLiteral("pactl"), {QStringLiteral("get-default-source")}).succeeds();
}

} // namespace

PrivateSoundServer::PrivateSoundServer()
{
    qputenv("PULSE_SERVER", "unix:" + QFile::encodeName(socketPath()));
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
    m_server.emplace(QStringLiteral("pulseaudio"),
                     QStringList{QStringLiteral("-n"), QStringLiteral("--daemonize=no"),
                                 QStringLiteral("--exit-idle-time=-1"),
                                 QStringLiteral("--disallow-exit=false"), QStringLiteral("--realtime=no"),
                                 QStringLiteral("--high-priority=no"), QStringLiteral("--use-pid-file=no"),
                                 QStringLiteral("-F"), script});
    const bool isReady = waitUntil([&] { return !m_server->isRunning() || answers(); });
    if (!isReady || !m_server->isRunning()) {
        throw std::runtime_error("pulseaudio: " + m_server->output().toStdString());
    }
}

void PrivateSoundServer::kill()
{
    m_server.reset();
}

void PrivateSoundServer::freeze()
{
    m_server->freeze();
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
