// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Kavrinctl.h"
#include "support/Paths.h"

#include <QProcess>

namespace kavrin::test
{

Outcome kavrinctl(const QStringList &arguments, const QByteArray &standardInput)
{
    QProcess process;
    process.start(programPath("kavrinctl"), arguments);
    process.write(standardInput);
    process.closeWriteChannel();
    process.waitForFinished();
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

QJsonDocument kavrinctlJson(const QStringList &arguments)
{
    return QJsonDocument::fromJson(kavrinctl(arguments).output.toUtf8());
}

} // namespace kavrin::test
