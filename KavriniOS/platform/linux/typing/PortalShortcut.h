// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Shortcut.h"
#include "platform/linux/PortalSession.h"
#include "platform/linux/desktop/DBusStructure.h"

#include <QCoroTask>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QList>
#include <QPromise>

#include <chrono>
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
/// its keys in a dialog of the desktop, once, and changes them in the desktop's settings. If they refuse, no
/// later start asks them, either. Main thread only.
class PortalShortcut : public Shortcut
{
    Q_OBJECT

public:
    /// A refusal that comes sooner is not the user's: the desktop has not asked them.
    static constexpr std::chrono::milliseconds quickestUser{500};

    /// Asks the portal for the shortcut, and does not wait for the user. Asks again
    /// when the portal or a part of it comes, unless it has the keys.
    explicit PortalShortcut(QDBusConnection bus = QDBusConnection::sessionBus(),
                            std::chrono::milliseconds quickestUser = PortalShortcut::quickestUser);

    [[nodiscard]] QString name() const override { return m_name; }

    /// Asks the portal also if the user has refused before. Resumes with name() when they have answered.
    QCoro::Task<QString> askAgain();

private:
    QCoro::Task<> bind();
    QCoro::Task<> bindOnce();
    void onPortalChanged(const QString &name, const QString &previous, const QString &next);
    // The bus finds the type by its whole name.
    Q_SLOT void onShortcutsChanged(const QDBusObjectPath &session,
                                   const QList<kavrin::PortalShortcutEntry> &shortcuts);
    void onClosed();
    void setReleased();
    [[nodiscard]] bool hasSession() const;
    [[nodiscard]] bool isOurs(const QDBusObjectPath &session, const QString &shortcut) const;
    Q_SLOT void onActivated(const QDBusObjectPath &session, const QString &shortcut, qulonglong time,
                            const QVariantMap &options);
    Q_SLOT void onDeactivated(const QDBusObjectPath &session, const QString &shortcut, qulonglong time,
                              const QVariantMap &options);

    QDBusConnection m_bus;
    std::chrono::milliseconds m_quickestUser;
    QDBusServiceWatcher m_portal;
    std::shared_ptr<PortalSession> m_session; ///< null before the desktop has given the keys
    QString m_name;
    bool m_isBinding = false;
    QPromise<void> m_bound; ///< finished when the portal has answered
    bool m_isPortalNew = false; ///< a part of the portal has come since it was asked
    bool m_isDown = false;
};

} // namespace kavrin
