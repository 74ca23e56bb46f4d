// SPDX-License-Identifier: MIT
#include "platform/linux/PortalSession.h"

#include "platform/Error.h"

#include <QCoroDBusPendingCall>
#include <QDBusObjectPath>
#include <QDBusPendingCall>

#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const QString sessionInterface = u"org.freedesktop.portal.Session"_s;

/// Dialogs for files and the like, beside a part of the desktop's own. It has no sessions.
const QString partWithDialogs = u"org.freedesktop.impl.portal.desktop.gtk"_s;

Error failure(const QString &reason)
{
    return {u"portal"_s, 2, u"The desktop's portal fails: %1"_s.arg(reason)};
}

} // namespace

PortalSession::PortalSession(QDBusConnection bus, QString interface)
    : m_bus(std::move(bus)), m_interface(std::move(interface)),
      m_portal(PortalRequest::service(), m_bus, QDBusServiceWatcher::WatchForOwnerChange)
{
    m_portal.addWatchedService(PortalRequest::parts());
    connect(&m_portal, &QDBusServiceWatcher::serviceOwnerChanged, this, &PortalSession::onPortalChanged);
}

PortalSession::~PortalSession()
{
    close();
}

void PortalSession::close()
{
    if (isOpen()) {
        QDBusMessage message =
            QDBusMessage::createMethodCall(PortalRequest::service(), m_handle, sessionInterface, u"Close"_s);
        message.setAutoStartService(false);
        m_bus.send(message);
        m_handle.clear();
    }
}

QCoro::Task<> PortalSession::open(QString application)
{
    const QCoro::Task<> introducing = introduce(application);
    co_await introducing;
    const QVariantMap options{{u"session_handle_token"_s, PortalRequest::newToken()}};
    const QDBusMessage question = PortalRequest::message(m_interface, u"CreateSession"_s);
    const QCoro::Task<PortalRequest::Answer> asking = PortalRequest::ask(m_bus, question, options, {});
    const PortalRequest::Answer answer = co_await asking;
    m_handle = answer.details.value(u"session_handle"_s).toString();
    if (!isOpen()) {
        throw failure(u"it opens no session."_s);
    }
    m_bus.connect(PortalRequest::service(), m_handle, sessionInterface, u"Closed"_s, this,
                  SLOT(onClosed(QVariantMap)));
}

/// Where the portal cannot be told (before 1.20), or knows already, nothing happens.
QCoro::Task<> PortalSession::introduce(QString application)
{
    QDBusMessage introduction =
        PortalRequest::message(u"org.freedesktop.host.portal.Registry"_s, u"Register"_s);
    introduction << application << QVariantMap();
    const QDBusPendingCall call = m_bus.asyncCall(introduction);
    co_await call;
}

QDBusMessage PortalSession::message(const QString &method) const
{
    return PortalRequest::message(m_interface, method) << QDBusObjectPath(m_handle);
}

QCoro::Task<PortalRequest::Answer> PortalSession::ask(QString method, QVariantList arguments,
                                                      QVariantMap options, std::stop_token withdrawn)
{
    QDBusMessage question = message(method);
    question.setArguments(question.arguments() + arguments);
    return PortalRequest::ask(m_bus, question, options, withdrawn);
}

QCoro::Task<> PortalSession::call(QString method, QVariantList arguments)
{
    QDBusMessage question = message(method);
    question.setArguments(question.arguments() + arguments);
    const QDBusPendingCall call = m_bus.asyncCall(question);
    const QDBusMessage reply = co_await call;
    if (reply.type() != QDBusMessage::ReplyMessage) {
        close();
        throw failure(reply.errorMessage());
    }
}

void PortalSession::onClosed(const QVariantMap & /*details*/)
{
    if (isOpen()) {
        m_handle.clear();
        Q_EMIT closed(By::Desktop);
    }
}

/// Which part the session belongs to is not known. Where it was another one, the portal still has the
/// session.
void PortalSession::onPortalChanged(const QString &name, const QString &previous)
{
    if (isOpen() && !previous.isEmpty() && name != partWithDialogs) {
        close();
        Q_EMIT closed(By::Portal);
    }
}

} // namespace kavrin
