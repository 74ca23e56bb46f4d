// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T

/// A thin bar at the side, visible where not everything fits.
T.ScrollBar {
    id: bar

    padding: 2
    implicitWidth: hovered || pressed ? 10 : 8
    minimumSize: 0.08
    visible: size < 1
    Accessible.ignored: true
    contentItem: Rectangle {
        radius: 3
        color: bar.pressed ? Theme.secondaryText : Theme.edge
    }
}
