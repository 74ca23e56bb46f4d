// SPDX-License-Identifier: MIT
#include "support/PrivateBus.h"

#include "support/Wait.h"

#include <QFile>

#include <stdexcept>

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

    m_daemon.emplace(QStringLiteral("dbus-daemon"),
                     QStringList{QStringLiteral("--nofork"), QStringLiteral("--print-address"),
                                 QStringLiteral("--config-file=") + file.fileName()});
    waitUntil([&] { return m_daemon->output().contains(u'\n') || !m_daemon->isRunning(); });
    const QString address = m_daemon->output().section(u'\n', 0, 0);
    qputenv(variable, address.toUtf8());
    m_connection = QDBusConnection::connectToBus(address, path);
    if (!m_connection.isConnected()) {
        throw std::runtime_error("dbus-daemon: " + m_daemon->output().toStdString());
    }
}

PrivateBus::~PrivateBus()
{
    QDBusConnection::disconnectFromBus(m_connection.name());
}

} // namespace kavrin::test
