// SPDX-License-Identifier: MIT
#pragma once

#include <QSize>
#include <QString>

namespace kavrin
{

/// What the window was like when it was closed, so that it comes back like that. It is kept in a file of the
/// user's state folder (XDG base directories, version 0.8): a loss of it harms nothing.
struct WindowState {
    QSize size = QSize(0, 0); ///< in logical pixels, when it is not maximized; empty if it is not known
    bool isMaximized = false;
    QString page; ///< the id of its page; empty for the first screen
    bool isPreviewFolded = false;

    bool operator==(const WindowState &) const = default;

    /// What is kept in a file. What is missing or makes no sense is as in a new state.
    static WindowState load(const QString &path);

    /// Keeps it in a file, whose folder is made if necessary. A failure is only logged: the window comes back
    /// as it was before.
    void save(const QString &path) const;
};

} // namespace kavrin
