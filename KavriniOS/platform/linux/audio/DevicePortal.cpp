// SPDX-License-Identifier: MIT
#include "platform/linux/audio/DevicePortal.h"

#include "platform/linux/audio/PortalRequest.h"

#include <QCoreApplication>
#include <QCoroDBusPendingCall>
#include <QCoroFuture>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QStringList>
#include <QVariantMap>

namespace kavrin::DevicePortal
{

QCoro::Task<bool> accessMicrophone()
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        co_return true;
    }
    PortalRequest request(bus);
    QDBusMessage question = QDBusMessage::createMethodCall(
        PortalRequest::service(), QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Device"), QStringLiteral("AccessDevice"));
    question << static_cast<uint>(QCoreApplication::applicationPid())
             << QStringList{QStringLiteral("microphone")}
             << QVariantMap{{QStringLiteral("handle_token"), request.token()}};
    const QDBusPendingCall call = bus.asyncCall(question);
    const QDBusMessage reply = co_await call;
    if (reply.type() != QDBusMessage::ReplyMessage) {
        co_return true;
    }
    request.follow(reply.arguments().value(0).value<QDBusObjectPath>().path());
    const QFuture<uint> answer = request.answer();
    co_return co_await answer == PortalRequest::Granted;
}

} // namespace kavrin::DevicePortal
