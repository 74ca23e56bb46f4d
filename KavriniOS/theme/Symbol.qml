// SPDX-License-Identifier: MIT
import QtQuick

/// A system symbol in one colour, drawn for the screen's own pixels.
Image {
    id: symbol

    required property string name
    property color color: Theme.text
    property int size: Theme.symbolSize

    readonly property int pixels: Math.round(size * Screen.devicePixelRatio)

    width: pixels / Screen.devicePixelRatio
    height: width
    sourceSize: Qt.size(pixels, pixels)
    source: name ? "image://symbol/" + name + "?" + String(color).slice(1) : ""
    Accessible.ignored: true
}
