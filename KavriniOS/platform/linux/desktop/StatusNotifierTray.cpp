// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/StatusNotifierTray.h"

#include "platform/Logging.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>

#include <private/qgenericunixthemes_p.h>
#include <qpa/qplatformmenu.h>
#include <qpa/qplatformsystemtrayicon.h>

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

StatusNotifierTray::~StatusNotifierTray() = default;

void StatusNotifierTray::listen()
{
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &StatusNotifierTray::askForHost);
    for (const char *signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
        m_bus.connect(service, path, service, QString::fromLatin1(signal), this, SLOT(askForHost()));
    }
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
    if (hasHost == m_hasHost) {
        return;
    }
    m_hasHost = hasHost;
    if (m_hasHost) {
        makeIcon();
    } else if (m_icon) {
        removeIcon();
    }
    qCInfo(Logging::application) << "Tray:" << (isThere() ? "there" : "none");
    Q_EMIT changed();
}

/// Only once there is a host: the theme looks for one a single time. A desktop's own theme might need Qt
/// Widgets for it.
void StatusNotifierTray::makeIcon()
{
    const bool isSeen = QGuiApplication::platformName() != u"offscreen";
    m_icon.reset(isSeen ? QGenericUnixTheme().createPlatformSystemTrayIcon() : nullptr);
    if (!m_icon) {
        return;
    }
    connect(m_icon.get(), &QPlatformSystemTrayIcon::activated, this,
            [this](QPlatformSystemTrayIcon::ActivationReason reason) {
                if (reason == QPlatformSystemTrayIcon::Trigger) {
                    Q_EMIT activated();
                }
            });
}

void StatusNotifierTray::removeIcon()
{
    m_icon->cleanup();
    m_icon.reset();
    m_entries.clear();
    m_menu.reset();
}

void StatusNotifierTray::makeMenu(qsizetype entries)
{
    m_menu.reset(m_icon->createMenu());
    for (int entry = 0; entry < int(entries); ++entry) {
        QPlatformMenuItem *const item = m_menu->createMenuItem();
        m_entries.emplace_back(item);
        m_menu->insertMenuItem(item, nullptr);
        connect(item, &QPlatformMenuItem::activated, this, [this, entry] { Q_EMIT chosen(entry); });
    }
}

void StatusNotifierTray::show(const Content &content)
{
    if (!isThere()) {
        return;
    }
    const bool isFirst = !m_menu;
    if (isFirst) {
        makeMenu(content.menu.size());
    }
    for (std::size_t entry = 0; entry < m_entries.size(); ++entry) {
        m_entries[entry]->setText(content.menu.value(qsizetype(entry)));
        m_menu->syncMenuItem(m_entries[entry].get());
    }
    m_icon->updateIcon(content.icon);
    m_icon->updateToolTip(content.toolTip);
    if (isFirst) {
        m_icon->updateMenu(m_menu.get());
        m_icon->init();
    }
}

} // namespace kavrin
