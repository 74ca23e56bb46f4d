// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Layouts

/// A row that leads to another page.
PressButton {
    id: row

    property string symbol

    width: parent.width
    implicitHeight: Math.max(Theme.rowHeight, implicitContentHeight + topPadding + bottomPadding)
    leftPadding: Theme.margin
    rightPadding: Theme.margin
    topPadding: Theme.rowPadding
    bottomPadding: Theme.rowPadding

    background: RowBackground {
        control: row
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
            name: "chevron.right"
            size: 13
            color: Theme.secondaryText
            mirror: row.mirrored
        }
    }
}
