// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Layouts

/// A row that leads to another page.
PressButton {
    id: row

    property string symbol
    /// Whether its page takes the place of this one. The page may also stand beside it.
    property bool leadsAway: true
    /// Whether its page stands beside it now.
    property bool current: false

    width: parent.width
    implicitHeight: Math.max(Theme.rowHeight, implicitContentHeight + topPadding + bottomPadding)
    leftPadding: Theme.margin
    rightPadding: Theme.margin
    topPadding: Theme.rowPadding
    bottomPadding: Theme.rowPadding

    Accessible.selected: current
    containmentMask: ground.area

    background: RowBackground {
        id: ground

        control: row

        Rectangle {
            z: -1
            anchors.fill: parent
            anchors.margins: 3
            radius: Theme.radius - 3
            visible: row.current
            color: Theme.pressed
        }
    }
    contentItem: RowLayout {
        spacing: 14

        Symbol {
            visible: row.symbol !== ""
            name: row.symbol
            color: Theme.accent
        }
        RowText {
            Layout.fillWidth: true
            text: row.text
        }
        Symbol {
            visible: row.leadsAway
            name: "chevron.right"
            size: 13
            color: Theme.secondaryText
            mirror: row.mirrored
        }
    }
}
