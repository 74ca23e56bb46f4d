// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/StatusNotifierTray.h"

#include "platform/Logging.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const QString service = u"org.kde.StatusNotifierWatcher"_s;
const QString path = u"/StatusNotifierWatcher"_s;

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

/// A new watcher knows nothing of the item, even if it follows the last one at once.
void StatusNotifierTray::onWatcherChanged()
{
    setHasHost(false);
    askForHost();
}

void StatusNotifierTray::askForHost()
{
    QDBusMessage get =
        QDBusMessage::createMethodCall(service, path, u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    get << service << u"IsStatusNotifierHostRegistered"_s;
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
    if (hasHost == isAvailable()) {
        return;
    }
    if (hasHost) {
        makeItem();
    } else {
        m_item.reset();
    }
    qCInfo(Logging::application) << "Tray:" << (isAvailable() ? "there" : "none");
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
    if (isAvailable()) {
        m_item->show(content);
    }
}

} // namespace kavrin
