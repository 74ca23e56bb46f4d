// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T

/// A thin bar at the side. It is visible while not everything fits and something moves or points at it.
T.ScrollBar {
    id: bar

    padding: 2
    implicitWidth: 10
    minimumSize: 0.08
    visible: size < 1
    Accessible.ignored: true
    contentItem: Rectangle {
        implicitWidth: 6
        radius: 3
        color: Theme.secondaryText
        opacity: bar.pressed ? 0.8 : bar.active || bar.hovered ? 0.5 : 0

        Behavior on opacity {
            NumberAnimation {
                duration: Theme.transition
            }
        }
    }
}
