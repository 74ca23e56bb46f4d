// SPDX-License-Identifier: MIT
import QtQuick

/// Shows which control the keyboard acts on. Fills its parent unless it gets another place.
Rectangle {
    property Item control: parent

    anchors.fill: parent
    visible: control.visualFocus ?? false
    color: "transparent"
    radius: Theme.radius - 3
    border.width: 2
    border.color: Theme.accent
}
