// SPDX-License-Identifier: MIT
import QtQuick

/// A button that stands alone. If `prominent`, it is filled with the accent colour.
PressButton {
    id: button

    property bool prominent: false

    implicitWidth: Math.max(Theme.rowHeight * 2, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: Math.max(Theme.rowHeight, implicitContentHeight + topPadding + bottomPadding)
    leftPadding: 28
    rightPadding: 28
    topPadding: Theme.rowPadding
    bottomPadding: Theme.rowPadding

    background: Item {
        Rectangle {
            anchors.fill: parent
            radius: Theme.radius
            color: button.prominent ? Theme.accent : "transparent"
            border.width: Theme.highContrast && !button.prominent ? Theme.edgeWidth : 0
            border.color: Theme.edge
        }
        Rectangle {
            anchors.fill: parent
            radius: Theme.radius
            color: button.down ? Theme.pressed : button.hovered ? Theme.highlight : "transparent"
        }
        FocusRing {
            anchors.margins: -4
            radius: Theme.radius + 4
            control: button
        }
    }
    contentItem: Text {
        text: button.text
        textFormat: Text.PlainText
        color: button.prominent ? Theme.accentText : Theme.accent
        font.pixelSize: Theme.bodySize
        font.weight: button.prominent ? Font.DemiBold : Font.Normal
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.Wrap
        Accessible.ignored: true
    }
}
