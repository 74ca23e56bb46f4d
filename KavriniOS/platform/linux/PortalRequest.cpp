// SPDX-License-Identifier: MIT
#include "platform/linux/PortalRequest.h"

#include "platform/Error.h"

#include <QCoroDBusPendingCall>
#include <QCoroFuture>
#include <QDBusError>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QUuid>

#include <algorithm>
#include <array>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// Why the portal has not even begun to ask.
Error refusal(const QDBusMessage &reply)
{
    constexpr std::array missing = {QDBusError::ServiceUnknown, QDBusError::UnknownObject,
                                    QDBusError::UnknownInterface, QDBusError::UnknownMethod};
    const bool isMissing = std::ranges::find(missing, QDBusError(reply).type()) != missing.end();
    return {u"portal"_s, 1,
            isMissing ? u"The desktop has no portal for that. Install xdg-desktop-portal and the part of it "
                        "for your desktop, such as xdg-desktop-portal-gtk."_s
                      : u"The desktop's portal refuses: %1"_s.arg(reply.errorMessage())};
}

} // namespace

QString PortalRequest::service()
{
    return u"org.freedesktop.portal.Desktop"_s;
}

QString PortalRequest::parts()
{
    return u"org.freedesktop.impl.portal.desktop*"_s;
}

QString PortalRequest::path()
{
    return u"/org/freedesktop/portal/desktop"_s;
}

QDBusMessage PortalRequest::message(const QString &interface, const QString &method)
{
    return QDBusMessage::createMethodCall(service(), path(), interface, method);
}

QString PortalRequest::newToken()
{
    return u"kavrin_"_s + QUuid::createUuid().toString(QUuid::Id128);
}

QCoro::Task<PortalRequest::Answer> PortalRequest::ask(QDBusConnection bus, QDBusMessage question,
                                                      QVariantMap options, std::stop_token withdrawn)
{
    PortalRequest request(bus);
    const std::stop_callback onWithdrawn(withdrawn, [&request] { request.close(); });
    options.insert(u"handle_token"_s, request.m_token);
    question << options;
    const QDBusPendingCall call = bus.asyncCall(question);
    const QDBusMessage reply = co_await call;
    if (reply.type() != QDBusMessage::ReplyMessage) {
        throw refusal(reply);
    }
    request.follow(reply.arguments().value(0).value<QDBusObjectPath>().path());
    const QFuture<Answer> answer = request.m_answer.future();
    co_return co_await answer;
}

PortalRequest::PortalRequest(const QDBusConnection &bus)
    : m_bus(bus), m_portal(service(), bus, QDBusServiceWatcher::WatchForOwnerChange)
{
    m_answer.start();
    connect(&m_portal, &QDBusServiceWatcher::serviceOwnerChanged, this, &PortalRequest::onPortalChanged);
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

/// Listens to the path that the portal gave, if it is not the expected one (before version 0.9).
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
    finish({ended, {}});
}

void PortalRequest::response(uint result, const QVariantMap &details)
{
    finish({result, details});
}

/// Another portal may have taken the place of the one that was asked.
void PortalRequest::onPortalChanged(const QString & /*name*/, const QString &previous)
{
    if (!previous.isEmpty()) {
        finish({granted, {}});
    }
}

/// The first answer counts.
void PortalRequest::finish(const Answer &answer)
{
    if (!m_answer.future().isFinished()) {
        m_answer.addResult(answer);
        m_answer.finish();
    }
}

} // namespace kavrin
