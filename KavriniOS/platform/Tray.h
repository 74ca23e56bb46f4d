// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>
#include <QObject>
#include <QStringList>

namespace kavrin
{

/// The application's place among the small icons that a desktop shows at all times, whatever windows there
/// are. Main thread only.
class Tray : public QObject
{
    Q_OBJECT

public:
    struct Content {
        QIcon icon; ///< shown in the sizes that it has
        QString toolTip;
        QStringList menu; ///< the entries' titles, always as many
    };

    /// Whether there is such a place: some desktops have none, and it may come and go.
    [[nodiscard]] virtual bool isThere() const = 0;

    /// Shows this from now on. Nothing happens while there is no place for it.
    virtual void show(const Content &content) = 0;

Q_SIGNALS:
    /// isThere() may be otherwise now.
    void changed();

    /// The icon was clicked.
    void activated();

    /// An entry of the menu was chosen; the first is 0.
    void chosen(int entry);
};

} // namespace kavrin
