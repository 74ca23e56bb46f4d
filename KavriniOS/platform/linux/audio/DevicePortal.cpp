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

using namespace Qt::StringLiterals;

QCoro::Task<bool> accessMicrophone(std::stop_token withdrawn)
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        co_return true;
    }
    PortalRequest request(bus);
    const std::stop_callback onWithdrawn(withdrawn, [&request] { request.close(); });
    QDBusMessage question =
        QDBusMessage::createMethodCall(PortalRequest::service(), u"/org/freedesktop/portal/desktop"_s,
                                       u"org.freedesktop.portal.Device"_s, u"AccessDevice"_s);
    question << static_cast<uint>(QCoreApplication::applicationPid()) << QStringList{u"microphone"_s}
             << QVariantMap{{u"handle_token"_s, request.token()}};
    const QDBusPendingCall call = bus.asyncCall(question);
    const QDBusMessage reply = co_await call;
    if (reply.type() != QDBusMessage::ReplyMessage) {
        co_return true;
    }
    request.follow(reply.arguments().value(0).value<QDBusObjectPath>().path());
    const QFuture<uint> answer = request.answer();
    co_return co_await answer == PortalRequest::granted;
}

} // namespace kavrin::DevicePortal
