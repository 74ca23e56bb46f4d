// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/setup/EmbeddedService.h"

#include "tools/kavrinctl/Console.h"
#include "tools/kavrinctl/LocalPort.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QProcess>

#include <chrono>
#include <thread>

namespace kavrin::ctl::EmbeddedService
{

namespace
{

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

constexpr std::uint16_t port = 49732; // that of its unit, kavrin-stt.service

/// Whether a program of the user serves the port. Throws Refusal if another user's does: it would hear what
/// is said.
bool isServed()
{
    const PortOwner owner = portOwner(port);
    if (owner == PortOwner::Stranger) {
        throw Refusal{
            u"Another user's program has port %1, so kavrin-stt cannot serve it. Start kavrin-stt on "
            "another port, and use \"kavrinctl setup server\" with the address that it prints."_s.arg(port)};
    }
    return owner == PortOwner::User;
}

/// A slow machine takes many seconds to load the speech model.
bool isSoonServed()
{
    for (const QDeadlineTimer limit(60s); !isServed(); std::this_thread::sleep_for(20ms)) {
        if (limit.hasExpired()) {
            return false;
        }
    }
    return true;
}

/// Whether systemd starts it now and at each login. What it says is for nobody: it may well not be there.
bool enableUnit()
{
    QProcess systemctl;
    systemctl.start(u"systemctl"_s, {u"--user"_s, u"enable"_s, u"--now"_s, u"kavrin-stt.service"_s});
    return systemctl.waitForFinished() && systemctl.exitStatus() == QProcess::NormalExit
        && systemctl.exitCode() == 0;
}

/// The process. Throws Refusal.
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
        throw Refusal{u"%1 cannot be started. Install Kavrin whole."_s.arg(program.program())};
    }
    return process;
}

} // namespace

QString address()
{
    return u"http://127.0.0.1:%1/v1/audio/transcriptions"_s.arg(port);
}

void start()
{
    isServed(); // or throws
    if (enableUnit() && isSoonServed()) {
        print(u"kavrin-stt runs, now and after each login."_s);
        return;
    }
    if (isServed()) {
        print(u"kavrin-stt runs already. Nothing starts it at the next login."_s);
        return;
    }
    const qint64 process = startProgram();
    if (!isSoonServed()) {
        throw Refusal{
            u"kavrin-stt does not start. \"kavrin-stt --port %1\" in a terminal says why."_s.arg(port)};
    }
    print(u"kavrin-stt runs as process %1. Nothing starts it at the next login."_s.arg(process));
}

} // namespace kavrin::ctl::EmbeddedService
