// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

namespace kavrin
{

/// What the desktop tells the user while no window of the application does. Main thread only.
class Notifications : public QObject
{
    Q_OBJECT

public:
    /// Shows a plain text under a title, in the place of the one that was shown before. `action` says in a
    /// few words what clicking it does. Returns at once; nothing happens where the desktop shows no
    /// notifications.
    virtual void show(const QString &title, const QString &text, const QString &action) = 0;

    /// Whether the desktop has not got one of them yet.
    [[nodiscard]] virtual bool isPending() const = 0;

Q_SIGNALS:
    /// The desktop has got all of them, or does not take them.
    void settled();

    /// The user wants what the action says. The activation token lets a window come to the front; empty where
    /// the desktop gives none.
    void activated(const QString &activationToken);
};

} // namespace kavrin
