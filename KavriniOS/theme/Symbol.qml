// SPDX-License-Identifier: MIT
import QtQuick

/// A system symbol in one colour, drawn for the screen's own pixels.
Item {
    id: symbol

    required property string name
    property color color: Theme.text
    /// Beside type of the usual size.
    property int size: 20
    property real growth: Theme.fontScale
    property alias mirror: image.mirror

    readonly property int extent: Math.round(size * growth)

    implicitWidth: extent
    implicitHeight: extent
    Accessible.ignored: true

    Image {
        id: image

        readonly property int pixels: Math.round(symbol.extent * Screen.devicePixelRatio)

        anchors.centerIn: parent
        width: pixels / Screen.devicePixelRatio
        height: width
        sourceSize: Qt.size(pixels, pixels)
        source: symbol.name ? "image://symbol/" + symbol.name + "@" + symbol.extent + "?" + String(symbol.color).slice(1) : ""
        Accessible.ignored: true
    }
}
