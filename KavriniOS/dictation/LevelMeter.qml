// SPDX-License-Identifier: MIT
import QtQuick
import Kavrin.Theme

/// A red microphone with bars that grow with the input level, 0 to 1.
Row {
    id: meter

    required property real level

    spacing: 8
    Accessible.ignored: true

    Symbol {
        anchors.verticalCenter: parent.verticalCenter
        name: "mic.fill"
        color: Theme.destructive
    }
    Row {
        anchors.verticalCenter: parent.verticalCenter
        height: 22
        spacing: 3

        Repeater {
            // How much of the level each bar shows.
            model: [0.5, 0.8, 1, 0.8, 0.5]

            Rectangle {
                required property real modelData

                anchors.verticalCenter: parent.verticalCenter
                width: 4
                height: Math.max(4, 22 * Math.min(1, meter.level * modelData))
                radius: 2
                color: Theme.destructive

                Behavior on height {
                    NumberAnimation {
                        duration: Theme.reducedMotion ? 0 : 90
                        easing.type: Easing.OutQuad
                    }
                }
            }
        }
    }
}
