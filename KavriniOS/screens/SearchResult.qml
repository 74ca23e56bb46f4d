// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T
import Kavrin.Theme

/// Something that was found, and where it is.
T.ItemDelegate {
    id: row

    property string where
    /// Whether Return opens it.
    property bool current: false

    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftPadding: Theme.margin
    rightPadding: Theme.margin
    topPadding: Theme.rowPadding
    bottomPadding: Theme.rowPadding
    hoverEnabled: true
    focusPolicy: Qt.NoFocus // the field keeps the focus
    Accessible.role: Accessible.ListItem
    Accessible.name: text
    Accessible.description: where
    Accessible.selected: current
    Accessible.onPressAction: clicked()

    background: RowBackground {
        control: row

        Rectangle {
            z: -1
            anchors.fill: parent
            anchors.margins: 3
            radius: Theme.radius - 3
            visible: row.current
            color: Theme.pressed
        }
    }
    contentItem: Column {
        RowText {
            width: parent.width
            text: row.text
        }
        Footnote {
            width: parent.width
            visible: text !== ""
            text: row.where
            Accessible.ignored: true
        }
    }
}
