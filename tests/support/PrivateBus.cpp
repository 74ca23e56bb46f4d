// SPDX-License-Identifier: MIT
#include "support/PrivateBus.h"

#include "support/Wait.h"

#include <QFile>

#include <csignal>
#include <stdexcept>
#include <sys/prctl.h>

namespace kavrin::test
{

namespace
{

constexpr const char *Configuration = R"(<busconfig>
<type>session</type>
<auth>EXTERNAL</auth>
<listen>unix:path=%1</listen>
<policy context="default"><allow send_destination="*" eavesdrop="true"/>
<allow eavesdrop="true"/><allow own="*"/></policy>
</busconfig>)";

} // namespace

PrivateBus::PrivateBus(const char *variable) : m_connection(QString())
{
    const QString path = qEnvironmentVariable("XDG_RUNTIME_DIR") + u'/' + QString::fromLatin1(variable);
    QFile file(path + QStringLiteral(".conf"));
    if (!file.open(QIODevice::WriteOnly)) {
        throw std::runtime_error(file.errorString().toStdString());
    }
    file.write(QString::fromLatin1(Configuration).arg(path).toUtf8());
    file.close();

    m_daemon.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_daemon.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--nofork"), QStringLiteral("--print-address"),
                    QStringLiteral("--config-file=") + file.fileName()});
    waitUntil([&] { return m_daemon.canReadLine() || m_daemon.state() == QProcess::NotRunning; });
    const QByteArray address = m_daemon.readLine().trimmed();
    qputenv(variable, address);
    m_connection = QDBusConnection::connectToBus(QString::fromUtf8(address), path);
    if (!m_connection.isConnected()) {
        throw std::runtime_error("dbus-daemon: " + m_daemon.readAllStandardError().toStdString());
    }
}

PrivateBus::~PrivateBus()
{
    QDBusConnection::disconnectFromBus(m_connection.name());
    m_daemon.kill();
    m_daemon.waitForFinished();
}

} // namespace kavrin::test
