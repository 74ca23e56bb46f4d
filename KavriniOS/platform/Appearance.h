// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QObject>

#include <optional>

namespace kavrin
{

/// How the desktop wants its applications to look. Main thread only.
class Appearance : public QObject
{
    Q_OBJECT

public:
    /// Whether the user has chosen dark windows.
    [[nodiscard]] virtual bool isDark() const = 0;

    /// The colour that the user has chosen for highlights. None if the desktop has no such setting.
    [[nodiscard]] virtual std::optional<QColor> accentColor() const = 0;

    /// Whether the user wants texts and controls to stand out more than usual.
    [[nodiscard]] virtual bool hasHighContrast() const = 0;

    /// Whether the user wants nothing to move that need not move.
    [[nodiscard]] virtual bool hasReducedMotion() const = 0;

Q_SIGNALS:
    /// Any of these has changed.
    void changed();
};

} // namespace kavrin
