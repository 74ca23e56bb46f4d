// SPDX-License-Identifier: MIT
#include "platform/linux/network/EmbeddedSpeechService.h"

#include "platform/linux/desktop/SystemdUnit.h"
#include "platform/linux/network/LocalPort.h"

#include <QCoreApplication>
#include <QCoroTimer>
#include <QDeadlineTimer>
#include <QProcess>

#include <chrono>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

using namespace std::chrono_literals;

constexpr std::uint16_t port = 49732; // that of its unit, kavrin-stt.service

Error failure(const QString &reason)
{
    return {u"service"_s, 1, reason};
}

/// Whether a program of the user serves the port. Throws Error if another user's does.
bool isServed()
{
    const PortOwner owner = portOwner(port);
    if (owner == PortOwner::Stranger) {
        throw failure(
            u"Another user's program has port %1, so kavrin-stt cannot serve it. Start kavrin-stt on "
            "another port, and use \"kavrinctl setup server\" with the address that it prints."_s.arg(port));
    }
    return owner == PortOwner::User;
}

/// A slow machine takes many seconds to load the speech model.
QCoro::Task<bool> isSoonServed()
{
    for (const QDeadlineTimer limit(60s); !isServed();) {
        if (limit.hasExpired()) {
            co_return false;
        }
        const QCoro::Task<> sleep = QCoro::sleepFor(20ms);
        co_await sleep;
    }
    co_return true;
}

/// The process. Throws Error.
qint64 startProgram()
{
    QProcess program;
    program.setProgram(QCoreApplication::applicationDirPath() + u"/kavrin-stt"_s);
    program.setArguments({u"--port"_s, QString::number(port)});
    program.setWorkingDirectory(u"/"_s);
    program.setStandardOutputFile(QProcess::nullDevice());
    program.setStandardErrorFile(QProcess::nullDevice());
    qint64 process = 0;
    if (!program.startDetached(&process)) {
        throw failure(u"%1 cannot be started. Install Kavrin whole."_s.arg(program.program()));
    }
    return process;
}

} // namespace

QString EmbeddedSpeechService::address() const
{
    return u"http://127.0.0.1:%1/v1/audio/transcriptions"_s.arg(port);
}

QCoro::Task<LocalSpeechService::Started> EmbeddedSpeechService::start()
{
    isServed(); // or throws
    const QCoro::Task<bool> enabling = SystemdUnit::enable(u"kavrin-stt.service"_s);
    if (co_await enabling) {
        const QCoro::Task<bool> serving = isSoonServed();
        if (co_await serving) {
            co_return Started{.atEachLogin = true};
        }
    }
    if (isServed()) {
        co_return Started{};
    }
    const qint64 process = startProgram();
    const QCoro::Task<bool> serving = isSoonServed();
    if (!co_await serving) {
        throw failure(
            u"kavrin-stt does not start. \"kavrin-stt --port %1\" in a terminal says why."_s.arg(port));
    }
    co_return Started{.process = process};
}

} // namespace kavrin
