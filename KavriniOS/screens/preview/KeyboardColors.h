// SPDX-License-Identifier: MIT
#pragma once

#include "screens/preview/KeyboardLook.h"

#include <QColor>

namespace kavrin
{

/// What everything is painted with, by the formulas of docs/settings.md.
struct KeyboardColors {
    Q_GADGET
    QML_ANONYMOUS

    Q_PROPERTY(QColor ground MEMBER ground)
    Q_PROPERTY(QColor onGround MEMBER onGround)
    Q_PROPERTY(QColor pill MEMBER pill)
    Q_PROPERTY(QColor divider MEMBER divider)
    Q_PROPERTY(QColor cap MEMBER cap)
    Q_PROPERTY(QColor onCap MEMBER onCap)
    Q_PROPERTY(QColor accent MEMBER accent)
    Q_PROPERTY(QColor border MEMBER border)
    Q_PROPERTY(QColor shadow MEMBER shadow)

public:
    QColor ground; ///< behind the keys
    QColor onGround; ///< suggestions and tools
    QColor pill; ///< behind a suggestion
    QColor divider; ///< between two suggestions
    QColor cap; ///< a letter's key
    QColor onCap;
    QColor function; ///< a key that types no character
    QColor onFunction;
    QColor pressed; ///< a letter's key under a finger
    QColor onPressed;
    QColor accent; ///< Return, and the trail
    QColor onAccent;
    QColor border;
    QColor shadow;

    bool operator==(const KeyboardColors &) const = default;

    static KeyboardColors of(const KeyboardLook &look, bool isDark);
};

/// WCAG 2's contrast of two opaque colours, 1 to 21.
double contrast(const QColor &one, const QColor &other);

} // namespace kavrin
