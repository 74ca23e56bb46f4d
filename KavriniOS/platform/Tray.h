// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>
#include <QObject>
#include <QStringList>

namespace kavrin
{

/// The application's icon among the small icons that a desktop always shows. Main thread only.
class Tray : public QObject
{
    Q_OBJECT

public:
    struct Content {
        QIcon icon; ///< shown in the sizes that it holds
        QString toolTip;
        QStringList menu; ///< the titles of the entries, always the same number; an empty one is not shown
    };

    /// Whether the desktop has a tray. Some have none, and a tray may come and go.
    [[nodiscard]] virtual bool isAvailable() const = 0;

    /// Shows `content` from now on. Nothing happens while there is no tray.
    virtual void show(const Content &content) = 0;

Q_SIGNALS:
    /// isAvailable() may have changed.
    void changed();

    /// The icon was clicked.
    void activated();

    /// The user has chosen an entry of the menu; the first is 0.
    void chosen(int entry);
};

} // namespace kavrin
