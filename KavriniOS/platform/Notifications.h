// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

namespace kavrin
{

/// Tells the user something through the desktop while no window of the application does. Main thread only.
class Notifications : public QObject
{
    Q_OBJECT

public:
    /// Shows a plain text under a title. It replaces the notification that was shown before. `action` says in
    /// a few words what a click on it does, and `button`, unless it is empty, what a button on it does.
    /// Returns at once. Nothing happens if the desktop shows no notifications.
    virtual void show(const QString &title, const QString &text, const QString &action,
                      const QString &button = {}) = 0;

    /// Takes back the notification that is shown, or is about to be, if it has a button.
    virtual void withdrawButton() = 0;

    /// Whether the desktop has not yet received one of the notifications.
    [[nodiscard]] virtual bool isPending() const = 0;

Q_SIGNALS:
    /// The desktop has received all notifications, or does not accept them.
    void settled();

    /// The user has chosen the action. The activation token lets a window come to the front; it is empty if
    /// the desktop gives none.
    void activated(const QString &activationToken);

    /// The user has pressed the button.
    void buttonPressed();
};

} // namespace kavrin
