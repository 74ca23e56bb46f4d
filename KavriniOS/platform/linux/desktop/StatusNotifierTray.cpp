// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/StatusNotifierTray.h"

#include "platform/Logging.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

namespace kavrin
{

namespace
{

const QString service = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString path = QStringLiteral("/StatusNotifierWatcher");

} // namespace

StatusNotifierTray::StatusNotifierTray(const QDBusConnection &bus)
    : m_bus(bus), m_watcher(service, bus, QDBusServiceWatcher::WatchForOwnerChange)
{
    if (m_bus.isConnected()) {
        listen();
        askForHost();
    }
}

void StatusNotifierTray::listen()
{
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            &StatusNotifierTray::onWatcherChanged);
    for (const char *signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
        m_bus.connect(service, path, service, QString::fromLatin1(signal), this, SLOT(askForHost()));
    }
}

/// A new one knows nothing of the item, however soon it has followed the last one.
void StatusNotifierTray::onWatcherChanged()
{
    setHasHost(false);
    askForHost();
}

void StatusNotifierTray::askForHost()
{
    QDBusMessage get = QDBusMessage::createMethodCall(
        service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get << service << QStringLiteral("IsStatusNotifierHostRegistered");
    get.setAutoStartService(false);
    auto *answer = new QDBusPendingCallWatcher(m_bus.asyncCall(get), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QVariant> hasHost = *answer;
        setHasHost(hasHost.isValid() && hasHost.value().toBool());
    });
}

void StatusNotifierTray::setHasHost(bool hasHost)
{
    if (hasHost == isThere()) {
        return;
    }
    if (hasHost) {
        makeItem();
    } else {
        m_item.reset();
    }
    qCInfo(Logging::application) << "Tray:" << (isThere() ? "there" : "none");
    Q_EMIT changed();
}

void StatusNotifierTray::makeItem()
{
    auto item = std::make_unique<StatusNotifierItem>();
    connect(item.get(), &StatusNotifierItem::activated, this, &Tray::activated);
    connect(item.get(), &StatusNotifierItem::chosen, this, &Tray::chosen);
    if (item->isConnected()) {
        m_item = std::move(item);
    }
}

void StatusNotifierTray::show(const Content &content)
{
    if (isThere()) {
        m_item->show(content);
    }
}

} // namespace kavrin
