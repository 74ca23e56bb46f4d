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

    containmentMask: ground.area

    background: RowBackground {
        id: ground

        control: row
    }
    contentItem: RowText {
        text: row.text
        color: row.destructive ? Theme.destructive : Theme.accent
        verticalAlignment: Text.AlignVCenter
    }
}
