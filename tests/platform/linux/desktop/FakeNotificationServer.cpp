// SPDX-License-Identifier: MIT
#include "FakeNotificationServer.h"

#include <utility>

namespace kavrin::test
{

namespace
{

constexpr QLatin1String service("org.freedesktop.Notifications");
constexpr QLatin1String path("/org/freedesktop/Notifications");

} // namespace

FakeNotificationServer::FakeNotificationServer(QDBusConnection bus) : m_bus(std::move(bus))
{
    m_bus.registerObject(path, this, QDBusConnection::ExportAllContents);
    m_bus.registerService(service);
}

FakeNotificationServer::~FakeNotificationServer()
{
    m_bus.unregisterService(service);
    m_bus.unregisterObject(path);
}

QStringList FakeNotificationServer::GetCapabilities()
{
    leaveOpen(QStringList());
    return {};
}

uint FakeNotificationServer::Notify(const QString & /*application*/, uint replaced, const QString & /*icon*/,
                                    const QString &title, const QString &text, const QStringList &actions,
                                    const QVariantMap &hints, int expiry)
{
    last = {replaced, title, text, actions, hints, expiry};
    isShown = true;
    asked.append(text);
    leaveOpen(replaced != 0 ? replaced : ++m_last);
    return 0;
}

void FakeNotificationServer::CloseNotification(uint number)
{
    closed.push_back(number);
    isShown = false;
}

void FakeNotificationServer::leaveOpen(const QVariant &answer)
{
    setDelayedReply(true);
    m_open.push_back(message().createReply(answer));
    if (answersAtOnce) {
        this->answer();
    }
}

void FakeNotificationServer::answer()
{
    m_bus.send(m_open.front());
    m_open.erase(m_open.begin());
}

} // namespace kavrin::test
