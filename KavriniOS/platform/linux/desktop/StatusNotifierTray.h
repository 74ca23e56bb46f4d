// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Tray.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>

#include <memory>
#include <vector>

class QPlatformMenu;
class QPlatformMenuItem;
class QPlatformSystemTrayIcon;

namespace kavrin
{

/// The tray of the session bus: a StatusNotifierItem with its menu
/// (https://www.freedesktop.org/wiki/Specifications/StatusNotifierItem/), which Qt's theme for Unix makes.
/// Needs the QGuiApplication; where it has no display there is no tray.
class StatusNotifierTray : public Tray
{
    Q_OBJECT

public:
    /// Asks for a tray on `bus`, the session bus, without waiting for it.
    explicit StatusNotifierTray(const QDBusConnection &bus = QDBusConnection::sessionBus());
    ~StatusNotifierTray() override;

    [[nodiscard]] bool isThere() const override { return m_hasHost && m_icon; }
    void show(const Content &content) override;

private:
    void listen();
    Q_SLOT void askForHost();
    void setHasHost(bool hasHost);
    void makeIcon();
    void removeIcon();
    void makeMenu(qsizetype entries);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_watcher;
    bool m_hasHost = false;
    std::unique_ptr<QPlatformSystemTrayIcon> m_icon;
    std::unique_ptr<QPlatformMenu> m_menu;
    std::vector<std::unique_ptr<QPlatformMenuItem>> m_entries;
};

} // namespace kavrin
