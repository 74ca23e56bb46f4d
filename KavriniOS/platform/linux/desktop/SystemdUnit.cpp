// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/SystemdUnit.h"

#include <QCoroFuture>
#include <QProcess>
#include <QPromise>
#include <QTimer>

#include <chrono>

namespace kavrin::SystemdUnit
{

using namespace Qt::StringLiterals;

namespace
{

constexpr std::chrono::seconds patience(30);

} // namespace

QCoro::Task<bool> enable(QString unit)
{
    QPromise<void> end;
    end.start();
    QProcess systemctl;
    // finished() never comes if there is no such program.
    QObject::connect(&systemctl, &QProcess::stateChanged, &systemctl, [&end](QProcess::ProcessState state) {
        if (state == QProcess::NotRunning) {
            end.finish();
        }
    });
    QTimer::singleShot(patience, &systemctl, &QProcess::kill);
    systemctl.start(u"systemctl"_s, {u"--user"_s, u"enable"_s, u"--now"_s, unit});
    const QFuture<void> ended = end.future();
    co_await ended;
    co_return systemctl.error() == QProcess::UnknownError &&systemctl.exitCode() == 0;
}

} // namespace kavrin::SystemdUnit
