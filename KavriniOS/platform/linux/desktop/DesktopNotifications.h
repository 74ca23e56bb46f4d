// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Notifications.h"

#include <QCoroTask>
#include <QDBusConnection>

#include <optional>

namespace kavrin
{

/// The notification server of the session bus: org.freedesktop.Notifications, see
/// https://specifications.freedesktop.org/notification-spec/latest/.
class DesktopNotifications : public Notifications
{
    Q_OBJECT

public:
    explicit DesktopNotifications(QDBusConnection bus = QDBusConnection::sessionBus());

    void show(const QString &title, const QString &text, const QString &action,
              const QString &button) override;
    void withdrawButton() override;
    [[nodiscard]] bool isPending() const override { return m_isSending; }

private:
    struct Notice {
        QString title;
        QString text;
        QString action;
        QString button;
    };

    void listen();
    QCoro::Task<> sendWanted();
    void closeWithdrawn();
    Q_SLOT void onActionInvoked(uint notification, const QString &action);
    Q_SLOT void onActivationToken(uint notification, const QString &token);

    QDBusConnection m_bus;
    std::optional<Notice> m_wanted; ///< empty when it is sent
    bool m_wantsButton = false; ///< the last one that was wanted has a button and was not taken back
    bool m_hasButton = false; ///< the one that is shown
    bool m_isSending = false;
    bool m_isListening = false;
    uint m_shown = 0; ///< its number; 0 if there is none
    QString m_activationToken; ///< comes before the action that it belongs to
};

} // namespace kavrin
