// SPDX-License-Identifier: MIT
import QtQuick

/// The background of a control that can be pressed. It shows that the control is hovered, is pressed or has the focus.
/// If the control is as wide as its row of a card, it also encloses what is below it there, such as a footer.
Item {
    id: background

    required property Item control
    /// What is enclosed. As the control's containmentMask, it lets a pointer act anywhere on it.
    readonly property alias area: area

    readonly property CardRow row: rowAround(control)
    readonly property bool enclosesRow: row !== null && control.width === row.width

    function rowAround(item: Item): CardRow {
        let ancestor = item.parent;
        while (ancestor && !(ancestor instanceof CardRow)) {
            ancestor = ancestor.parent;
        }
        return ancestor;
    }

    Item {
        id: area

        width: parent.width
        height: background.enclosesRow ? background.row.height : parent.height
    }
    Rectangle {
        anchors.fill: area
        anchors.margins: 3
        radius: Theme.radius - 3
        color: background.control.down ? Theme.pressed : background.control.hovered ? Theme.highlight : "transparent"

        FocusRing {
            control: background.control
        }
    }
}
