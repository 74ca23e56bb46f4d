// SPDX-License-Identifier: MIT
#include "platform/linux/audio/DevicePortal.h"

#include "platform/Error.h"
#include "platform/linux/PortalRequest.h"

#include <QCoreApplication>
#include <QStringList>

namespace kavrin::DevicePortal
{

using namespace Qt::StringLiterals;

QCoro::Task<bool> accessMicrophone(std::stop_token withdrawn)
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        co_return true;
    }
    QDBusMessage question = PortalRequest::message(u"org.freedesktop.portal.Device"_s, u"AccessDevice"_s);
    question << static_cast<uint>(QCoreApplication::applicationPid()) << QStringList{u"microphone"_s};
    try {
        const QCoro::Task<PortalRequest::Answer> asking = PortalRequest::ask(bus, question, {}, withdrawn);
        const PortalRequest::Answer answer = co_await asking;
        co_return answer.result == PortalRequest::granted;
    } catch (const Error &) {
        co_return true;
    }
}

} // namespace kavrin::DevicePortal
