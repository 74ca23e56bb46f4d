// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>

namespace kavrin
{

/// A key combination for one action that works whatever window has the focus. Main thread only.
class Shortcut : public QObject
{
    Q_OBJECT

public:
    /// For a person: the keys as the desktop names them ("Ctrl+Alt+D"), or why there are none.
    [[nodiscard]] virtual QString name() const = 0;

Q_SIGNALS:
    /// The user has pressed the keys. Once, however long they hold them.
    void pressed();

    /// The user has released the keys. Always follows pressed().
    void released();
};

} // namespace kavrin
