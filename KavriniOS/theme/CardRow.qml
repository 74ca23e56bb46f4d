// SPDX-License-Identifier: MIT
import QtQuick

/// One row of a card, set off from the row above by a hairline that begins where the text does.
Item {
    id: row

    /// Where the text begins.
    property real textInset: Theme.margin
    /// Whether the user has searched for the row.
    property bool marked: false
    property alias spacing: column.spacing
    default property alias content: column.data

    width: parent ? parent.width : 0
    height: column.height

    Rectangle {
        visible: row.marked
        anchors.fill: parent
        anchors.margins: 3
        radius: Theme.radius - 3
        color: Theme.highlight
        border.width: Theme.edgeWidth
        border.color: Theme.accent
    }
    Column {
        id: column

        width: parent.width
    }
    Rectangle {
        visible: row.y > 0
        x: row.LayoutMirroring.enabled ? 0 : row.textInset
        width: parent.width - row.textInset
        height: 1
        color: Theme.hairline
    }
}
