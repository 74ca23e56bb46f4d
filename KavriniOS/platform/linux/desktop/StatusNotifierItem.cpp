// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/StatusNotifierItem.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QGuiApplication>
#include <QUuid>

#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const QString itemPath = u"/StatusNotifierItem"_s;
const QString menuPath = u"/MenuBar"_s;

constexpr auto exported = QDBusConnection::ExportScriptableContents;

} // namespace

StatusNotifierItem::StatusNotifierItem()
    : m_connection(QDBusConnection::connectToBus(QDBusConnection::SessionBus, QUuid::createUuid().toString()))
{
    qDBusRegisterMetaType<TrayPixmap>();
    qDBusRegisterMetaType<TrayPixmaps>();
    qDBusRegisterMetaType<TrayToolTip>();
    connect(&m_menu, &DBusMenu::chosen, this, &StatusNotifierItem::chosen);
}

StatusNotifierItem::~StatusNotifierItem()
{
    QDBusConnection::disconnectFromBus(m_connection.name());
}

void StatusNotifierItem::show(const Tray::Content &content)
{
    setIcon(trayPixmaps(content.icon));
    setToolTip(content.toolTip);
    m_menu.setTitles(content.menu);
    if (!std::exchange(m_isInTray, true)) {
        enterTray();
    }
}

void StatusNotifierItem::setIcon(const TrayPixmaps &icon)
{
    if (icon != m_icon) {
        m_icon = icon;
        Q_EMIT NewIcon();
    }
}

void StatusNotifierItem::setToolTip(const QString &toolTip)
{
    if (toolTip != m_toolTip) {
        m_toolTip = toolTip;
        Q_EMIT NewToolTip();
    }
}

/// Registers under the name that the bus gave the connection: a sandbox allows no other.
void StatusNotifierItem::enterTray()
{
    m_connection.registerObject(itemPath, this, exported);
    m_connection.registerObject(menuPath, &m_menu, exported);
    const QString watcher = u"org.kde.StatusNotifierWatcher"_s;
    QDBusMessage enter = QDBusMessage::createMethodCall(watcher, u"/StatusNotifierWatcher"_s, watcher,
                                                        u"RegisterStatusNotifierItem"_s);
    enter << m_connection.baseService();
    enter.setAutoStartService(false);
    m_connection.send(enter);
}

QString StatusNotifierItem::id() const
{
    return QGuiApplication::applicationName();
}

QString StatusNotifierItem::title() const
{
    return QGuiApplication::applicationDisplayName();
}

QDBusObjectPath StatusNotifierItem::menu() const
{
    return QDBusObjectPath(menuPath);
}

void StatusNotifierItem::Activate(int /*x*/, int /*y*/)
{
    Q_EMIT activated();
}

void StatusNotifierItem::SecondaryActivate(int /*x*/, int /*y*/)
{
    Q_EMIT activated();
}

/// Panels draw the menu themselves.
void StatusNotifierItem::ContextMenu(int /*x*/, int /*y*/) { }

void StatusNotifierItem::Scroll(int /*delta*/, const QString & /*orientation*/) { }

void StatusNotifierItem::ProvideXdgActivationToken(const QString &token)
{
    qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8()); // the Wayland platform reads the token from here
}

} // namespace kavrin
