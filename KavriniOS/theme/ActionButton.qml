// SPDX-License-Identifier: MIT
import QtQuick

/// A row that does something when pressed.
PressButton {
    id: row

    property bool destructive: false

    width: parent.width
    implicitHeight: Math.max(Theme.rowHeight, implicitContentHeight + topPadding + bottomPadding)
    leftPadding: Theme.margin
    rightPadding: Theme.margin
    topPadding: Theme.rowPadding
    bottomPadding: Theme.rowPadding

    background: RowBackground {
        control: row
    }
    contentItem: Text {
        text: row.text
        textFormat: Text.PlainText
        color: row.destructive ? Theme.destructive : Theme.accent
        font.pixelSize: Theme.bodySize
        wrapMode: Text.Wrap
        horizontalAlignment: Text.AlignLeft
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }
}
