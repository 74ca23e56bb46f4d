// SPDX-License-Identifier: MIT
#include "FakeDevicePortal.h"

#include <QDBusError>
#include <QDBusMessage>

#include <utility>

namespace kavrin::test
{

namespace
{

constexpr QLatin1String service("org.freedesktop.portal.Desktop");
constexpr QLatin1String path("/org/freedesktop/portal/desktop");

} // namespace

FakeDevicePortal::FakeDevicePortal(QDBusConnection bus, Behaviour behaviour, uint result)
    : m_bus(std::move(bus)), m_behaviour(behaviour), m_result(result)
{
    m_bus.registerObject(path, this, QDBusConnection::ExportAllSlots);
    m_bus.registerService(service);
}

FakeDevicePortal::~FakeDevicePortal()
{
    m_bus.unregisterService(service);
    m_bus.unregisterObject(path);
}

QDBusObjectPath FakeDevicePortal::AccessDevice(uint processId, const QStringList &devices,
                                               const QVariantMap &options)
{
    m_processId = processId;
    m_devices = devices;
    const QString sender = message().service().mid(1).replace(u'.', u'_');
    const QString token = m_behaviour == Behaviour::ChoosesThePath
        ? QStringLiteral("t1")
        : options.value(QStringLiteral("handle_token")).toString();
    m_request = QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token);
    m_bus.registerObject(m_request, &m_question, QDBusConnection::ExportAllSlots);
    if (m_behaviour == Behaviour::Refuses) {
        sendErrorReply(QDBusError::AccessDenied, QStringLiteral("This call is not available"));
    }
    if (m_behaviour == Behaviour::AnswersFirst) {
        respond();
    }
    return QDBusObjectPath(m_request);
}

void FakeDevicePortal::respond()
{
    QDBusMessage answer = QDBusMessage::createSignal(
        m_request, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"));
    answer << m_result << QVariantMap();
    m_bus.send(answer);
}

} // namespace kavrin::test
