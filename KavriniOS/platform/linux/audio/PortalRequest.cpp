// SPDX-License-Identifier: MIT
#include "platform/linux/audio/PortalRequest.h"

#include <QDBusMessage>
#include <QUuid>

namespace kavrin
{

using namespace Qt::StringLiterals;

QString PortalRequest::service()
{
    return u"org.freedesktop.portal.Desktop"_s;
}

PortalRequest::PortalRequest(const QDBusConnection &bus)
    : m_bus(bus), m_portal(service(), bus, QDBusServiceWatcher::WatchForUnregistration),
      m_token(u"kavrin_"_s + QUuid::createUuid().toString(QUuid::Id128))
{
    m_answer.start();
    connect(&m_portal, &QDBusServiceWatcher::serviceUnregistered, this, [this] { finish(granted); });
    listen(expectedPath());
}

QString PortalRequest::expectedPath() const
{
    const QString sender = m_bus.baseService().mid(1).replace(u'.', u'_');
    return u"/org/freedesktop/portal/desktop/request/%1/%2"_s.arg(sender, m_token);
}

void PortalRequest::listen(const QString &path)
{
    m_path = path;
    m_bus.connect(service(), path, u"org.freedesktop.portal.Request"_s, u"Response"_s, this,
                  SLOT(response(uint, QVariantMap)));
}

void PortalRequest::follow(const QString &actualPath)
{
    if (actualPath != m_path) {
        listen(actualPath);
        if (m_isClosed) {
            close();
        }
    }
}

void PortalRequest::close()
{
    m_isClosed = true;
    m_bus.send(
        QDBusMessage::createMethodCall(service(), m_path, u"org.freedesktop.portal.Request"_s, u"Close"_s));
    finish(ended);
}

void PortalRequest::response(uint result, const QVariantMap & /*details*/)
{
    finish(result);
}

/// The first answer counts.
void PortalRequest::finish(uint result)
{
    if (!m_answer.future().isFinished()) {
        m_answer.addResult(result);
        m_answer.finish();
    }
}

} // namespace kavrin
