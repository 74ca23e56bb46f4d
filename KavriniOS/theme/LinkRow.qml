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
        Text {
            Layout.fillWidth: true
            text: row.text
            textFormat: Text.PlainText
            color: Theme.text
            font.pixelSize: Theme.bodySize
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignLeft
            Accessible.ignored: true
        }
        Symbol {
            name: "chevron.right"
            size: 13
            color: Theme.secondaryText
            mirror: row.mirrored
        }
    }
}
