// SPDX-License-Identifier: MIT
import QtQuick

/// A title with its value, the one child given, at the end of the line. If both do not fit, the value is below.
Item {
    id: pair

    property string title
    default property alias value: place.data
    readonly property real valueWidth: place.children[0].implicitWidth
    readonly property bool fits: titleText.implicitWidth + 14 + valueWidth <= width

    implicitHeight: fits ? Math.max(titleText.height, place.height) : titleText.height + 2 + place.height

    RowText {
        id: titleText

        anchors.left: parent.left
        y: pair.fits ? (pair.height - height) / 2 : 0
        width: pair.fits ? implicitWidth : parent.width
        text: pair.title
    }
    Item {
        id: place

        anchors.right: parent.right
        y: pair.fits ? (pair.height - height) / 2 : titleText.height + 2
        width: pair.fits ? pair.valueWidth : parent.width
        height: childrenRect.height
    }
}
