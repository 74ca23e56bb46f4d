// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>
#include <QString>

namespace kavrin
{

/// Tells the user something through the desktop while no window of the application does. There is one
/// notification: each takes the place of the one before. Main thread only.
class Notifications : public QObject
{
    Q_OBJECT

public:
    struct Button {
        QString name; ///< for pressed()
        QString label;
        bool operator==(const Button &) const = default;
    };

    /// How long the desktop shows it. A desktop may decide otherwise.
    enum class Stay {
        AsUsual,
        Briefly, ///< and is not kept in a list of what the user has missed
        UntilSeen, ///< until the user does something about it
        UntilWithdrawn, ///< also after a button was pressed, and without a sound, because it goes on
    };

    struct Notice {
        QString title;
        QString text; ///< plain
        QString action; ///< what a click on it does, in a few words
        QList<Button> buttons;
        Stay stay = Stay::AsUsual;
        bool operator==(const Notice &) const = default;
    };

    /// What show() returns: 1, 2, 3 and so on.
    using Number = quint64;

    /// Shows a notice in place of the one before. Returns at once. Nothing happens if the desktop shows no
    /// notifications.
    virtual Number show(const Notice &notice) = 0;

    /// Takes back the notice with that number, also if it is still being sent. Does nothing if another one
    /// has taken its place.
    virtual void withdraw(Number shown) = 0;

    /// Whether the desktop has not yet received one of the notifications, or that one was withdrawn.
    [[nodiscard]] virtual bool isPending() const = 0;

Q_SIGNALS:
    /// The desktop has received everything, or does not accept it.
    void settled();

    /// The user has chosen the action. The activation token lets a window come to the front; it is empty if
    /// the desktop gives none.
    void activated(const QString &activationToken);

    /// The user has pressed a button.
    void pressed(const QString &button, const QString &activationToken);
};

} // namespace kavrin
