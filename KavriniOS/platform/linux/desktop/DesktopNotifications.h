// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Notifications.h"

#include <QCoroTask>
#include <QDBusConnection>

#include <optional>

namespace kavrin
{

/// The notification server of the session bus: org.freedesktop.Notifications, see
/// https://specifications.freedesktop.org/notification-spec/latest/. Withdraws the notification that a killed
/// process of Kavrin has left.
class DesktopNotifications : public Notifications
{
    Q_OBJECT

public:
    explicit DesktopNotifications(QDBusConnection bus = QDBusConnection::sessionBus());

    Number show(const Notice &notice) override;
    void withdraw(Number shown) override;
    [[nodiscard]] bool isPending() const override { return m_isSending; }

private:
    void listen();
    void update();
    QCoro::Task<> tellServer();
    QCoro::Task<uint> notify(Notice notice);
    QCoro::Task<> close(uint notification);
    void know(const QDBusMessage &capabilities);
    void keep(Stay stay);
    Q_SLOT void onActionInvoked(uint notification, const QString &action);
    Q_SLOT void onActivationToken(uint notification, const QString &token);

    QDBusConnection m_bus;
    std::optional<Notice> m_wanted; ///< what is to be shown; empty if it was withdrawn
    Number m_last = 0; ///< the number of the last one that was wanted
    bool m_isTold = true; ///< the server is told what is wanted
    bool m_isSending = false;
    bool m_understandsMarkup = false; ///< the server
    bool m_isListening = false;
    QString m_server; ///< the unique name of the one that has shown it
    uint m_shown = 0; ///< its number; 0 if there is none
    QString m_activationToken; ///< comes before the action that it belongs to
};

} // namespace kavrin
