// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/PortalSession.h"

#include <QCoroTask>
#include <QDBusConnection>
#include <QString>

#include <chrono>
#include <memory>

namespace kavrin
{

/// A keyboard in the desktop, for one shortcut: Shift+Insert. The portal
/// (org.freedesktop.portal.RemoteDesktop) asks the user once, and keeps the answer from version 2 of the
/// interface on. An older one asks in every login. It asks again when the user has taken the keyboard away.
/// The desktop shows an indicator for as long as the keyboard is there: until this object goes, or the user
/// or the desktop takes the keyboard away. Main thread only.
class PortalKeyboard
{
public:
    /// How long the user may think about the desktop's question.
    static constexpr std::chrono::seconds patienceWithUser{30};

    explicit PortalKeyboard(QDBusConnection bus = QDBusConnection::sessionBus(),
                            std::chrono::milliseconds patience = patienceWithUser);

    /// Whether the desktop has the portal, and would ask for a keyboard. Waits for it, at most two seconds.
    [[nodiscard]] bool isAvailable() const;

    /// Sees to it that the keyboard is there: if it is not, the desktop may ask the user. Throws Error where
    /// it is refused or where nobody answers the question; the next call asks again.
    QCoro::Task<> plugIn();

    /// Presses the shortcut in the window that has the focus; the desktop has taken it when this resumes.
    /// Throws Error where the desktop does not take it. Call it after plugIn().
    QCoro::Task<> pressShiftInsert();

private:
    QCoro::Task<QVariantMap> wishes();
    QCoro::Task<> ask(PortalSession &session);
    QCoro::Task<> setKey(int keysym, bool isDown);

    QDBusConnection m_bus;
    std::chrono::milliseconds m_patience;
    bool m_isTakenBack = false; ///< by the user. An end of the desktop's session looks the same.
    std::unique_ptr<PortalSession> m_session; ///< null before plugIn()
};

} // namespace kavrin
