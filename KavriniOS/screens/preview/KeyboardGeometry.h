// SPDX-License-Identifier: MIT
#pragma once

#include "screens/preview/KeyRows.h"

#include <QList>
#include <QPointF>
#include <QRectF>

namespace kavrin
{

/// Where everything is, in logical pixels from the top left of the keyboard's place on the screen, by the
/// formulas of docs/settings.md.
struct KeyboardGeometry {
    Q_GADGET
    QML_ANONYMOUS

    Q_PROPERTY(double height MEMBER height)
    Q_PROPERTY(QRectF toolbar MEMBER toolbar)
    Q_PROPERTY(double toolWidth MEMBER toolWidth)
    Q_PROPERTY(QRectF strip MEMBER strip)
    Q_PROPERTY(int swelling MEMBER swelling)
    Q_PROPERTY(QRectF pressed MEMBER pressed)
    Q_PROPERTY(QRectF popup MEMBER popup)
    Q_PROPERTY(int popupSize MEMBER popupSize)
    Q_PROPERTY(QPointF trailBegin MEMBER trailBegin)
    Q_PROPERTY(QPointF trailEnd MEMBER trailEnd)

public:
    struct Key {
        RowKey key;
        QRectF cap;
        QRectF label; ///< within the cap: where its label or symbol is centred
        QRectF hint; ///< within the cap, above the label; empty if its row shows none
        int labelSize; ///< of the label or symbol

        bool operator==(const Key &) const = default;
    };

    double height = 0;
    QRectF toolbar;
    double toolWidth = 0;
    QRectF strip; ///< empty if there is none
    QList<Key> keys;
    QRectF pressed; ///< the cap of the key that is drawn pressed, "g"
    int swelling = 0; ///< of a pressed key of glass, on each side
    QRectF popup;
    int popupSize = 0; ///< of its letter
    QPointF trailBegin; ///< a glide over the word "on"
    QPointF trailEnd;

    bool operator==(const KeyboardGeometry &) const = default;

    /// `screenWidth`: of the screen that the keyboard is on. `isLandscape`: whether that is wider than high.
    static KeyboardGeometry of(const KeyboardLook &look, double screenWidth, bool isLandscape);

    /// The same, larger or smaller.
    [[nodiscard]] KeyboardGeometry scaled(double factor) const;
};

} // namespace kavrin
