// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Tray.h"
#include "platform/linux/desktop/StatusNotifierItem.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>

#include <memory>

namespace kavrin
{

/// The tray of the session bus: there is a StatusNotifierItem while org.kde.StatusNotifierWatcher has a host,
/// which draws the icons
/// (https://www.freedesktop.org/wiki/Specifications/StatusNotifierItem/StatusNotifierWatcher/). Needs the
/// QGuiApplication, but no display.
class StatusNotifierTray : public Tray
{
    Q_OBJECT

public:
    /// Asks for a tray on `bus`, the session bus, and does not wait for it. There is none if `bus` is not
    /// connected.
    explicit StatusNotifierTray(const QDBusConnection &bus = QDBusConnection::sessionBus());

    [[nodiscard]] bool isAvailable() const override { return m_item != nullptr; }
    void show(const Content &content) override;

private:
    void listen();
    void onWatcherChanged();
    Q_SLOT void askForHost();
    void setHasHost(bool hasHost);
    void makeItem();

    QDBusConnection m_bus;
    QDBusServiceWatcher m_watcher;
    std::unique_ptr<StatusNotifierItem> m_item; ///< exists while there is a host
};

} // namespace kavrin
