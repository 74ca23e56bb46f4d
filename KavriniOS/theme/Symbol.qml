// SPDX-License-Identifier: MIT
import QtQuick

/// A system symbol in one colour, drawn for the screen's own pixels.
Item {
    id: symbol

    required property string name
    property color color: Theme.text
    property int size: Theme.symbolSize
    property alias mirror: image.mirror

    implicitWidth: size
    implicitHeight: size
    Accessible.ignored: true

    Image {
        id: image

        readonly property int pixels: Math.round(symbol.size * Screen.devicePixelRatio)

        anchors.centerIn: parent
        width: pixels / Screen.devicePixelRatio
        height: width
        sourceSize: Qt.size(pixels, pixels)
        source: symbol.name ? "image://symbol/" + symbol.name + "@" + symbol.size + "?" + String(symbol.color).slice(1) : ""
        Accessible.ignored: true
    }
}
