// SPDX-License-Identifier: MIT
import QtQuick

/// The background of a row that can be pressed. It shows that the row is hovered, is pressed or has the focus.
Item {
    id: background

    required property Item control

    Rectangle {
        anchors.fill: parent
        anchors.margins: 3
        radius: Theme.radius - 3
        color: background.control.down ? Theme.pressed : background.control.hovered ? Theme.highlight : "transparent"

        FocusRing {
            control: background.control
        }
    }
}
