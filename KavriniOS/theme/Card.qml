// SPDX-License-Identifier: MIT
import QtQuick

/// A section: a small header above an inset card of rows. Give it CardRows.
Column {
    id: card

    property string title
    default property alias rows: rows.data

    width: parent.width
    spacing: 7
    Accessible.role: Accessible.Grouping
    Accessible.name: title

    Footnote {
        x: Theme.margin
        width: parent.width - 2 * Theme.margin
        visible: text !== ""
        text: card.title
        font.weight: Font.Medium
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }

    Rectangle {
        width: parent.width
        height: rows.height
        radius: Theme.radius
        color: Theme.card
        border.width: Theme.highContrast ? 1 : 0
        border.color: Theme.edge

        Column {
            id: rows

            width: parent.width
        }
    }
}
