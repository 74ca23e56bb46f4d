// SPDX-License-Identifier: MIT
import QtQuick

/// The ground of what opens above a page, with its shadow.
Rectangle {
    id: frame

    radius: Theme.radius
    color: Theme.raised
    border.width: 1
    border.color: Theme.hairline

    Repeater {
        model: 8

        Rectangle {
            required property int index

            z: -1
            anchors.fill: parent
            anchors.margins: -2 * index
            anchors.topMargin: 4 - 2 * index
            anchors.bottomMargin: -4 - 2 * index
            radius: frame.radius + 2 * index
            color: Theme.shadow
        }
    }
}
