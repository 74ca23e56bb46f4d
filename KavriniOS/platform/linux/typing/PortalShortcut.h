// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Shortcut.h"
#include "platform/linux/PortalSession.h"
#include "platform/linux/desktop/DBusStructure.h"

#include <QCoroTask>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>

#include <memory>
#include <tuple>

namespace kavrin
{

/// (sa{sv}): a shortcut in the calls and answers of the portal.
struct PortalShortcutEntry {
    QString id;
    QVariantMap properties;

    static auto fields(auto &self) { return std::tie(self.id, self.properties); }
};

/// The shortcut "Dictate" of the desktop's portal (org.freedesktop.portal.GlobalShortcuts). The user chooses
/// its keys in a dialog of the desktop, once, and changes them in the desktop's settings. Main thread only.
class PortalShortcut : public Shortcut
{
    Q_OBJECT

public:
    /// Asks the portal for the shortcut, and does not wait for the user. Asks again whenever a portal comes.
    explicit PortalShortcut(QDBusConnection bus = QDBusConnection::sessionBus());

    [[nodiscard]] QString name() const override { return m_name; }

private:
    void bindOnce();
    QCoro::Task<> bind();
    void setReleased();
    [[nodiscard]] bool isOurs(const QDBusObjectPath &session, const QString &shortcut) const;
    Q_SLOT void onActivated(const QDBusObjectPath &session, const QString &shortcut, qulonglong time,
                            const QVariantMap &options);
    Q_SLOT void onDeactivated(const QDBusObjectPath &session, const QString &shortcut, qulonglong time,
                              const QVariantMap &options);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_portal;
    std::shared_ptr<PortalSession> m_session; ///< null before the desktop has given the keys
    QString m_name;
    bool m_isBinding = false;
    bool m_isDown = false;
};

} // namespace kavrin
