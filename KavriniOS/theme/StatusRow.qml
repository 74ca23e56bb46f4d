// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Layouts

/// A row that only says something. A symbol may stand beside the text.
RowLayout {
    id: row

    property string symbol
    property string text
    property color color: Theme.text

    x: Theme.margin
    width: parent.width - 2 * Theme.margin
    height: Math.max(Theme.rowHeight, label.implicitHeight + 2 * Theme.rowPadding)
    spacing: 10
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Symbol {
        visible: name !== ""
        name: row.symbol
        color: row.color
    }
    RowText {
        id: label

        Layout.fillWidth: true
        text: row.text
        color: row.color
    }
}
