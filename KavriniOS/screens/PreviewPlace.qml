// SPDX-License-Identifier: MIT
import QtQuick
import Kavrin.Theme

/// The place for a preview of what a page's settings do: beside the page, or below it, where the user can fold it.
Item {
    id: place

    /// Gets the width, and has the height that it needs. Null if there is nothing to show.
    required property Component preview
    required property bool beside
    property bool folded: false
    /// What it needs for itself beside the preview.
    readonly property real frameHeight: header.height + Theme.margin
    /// The preview; null while it is folded.
    readonly property Item shown: content.item

    /// The user wants to fold the preview, or to see it again.
    signal foldToggled

    anchors.fill: parent
    implicitHeight: header.height + (folded ? 0 : content.height + Theme.margin)

    Rectangle {
        visible: !place.beside
        width: parent.width
        height: 1
        color: Theme.hairline
    }
    PressButton {
        id: header

        visible: !place.beside
        width: parent.width
        height: place.beside ? 0 : implicitContentHeight + 2 * Theme.rowPadding
        leftPadding: Theme.margin
        rightPadding: Theme.margin
        text: place.folded ? qsTr("Show preview") : qsTr("Hide preview")
        onClicked: place.foldToggled()
        background: RowBackground {
            control: header
        }
        contentItem: Item {
            implicitHeight: label.implicitHeight

            Footnote {
                id: label

                anchors.left: parent.left
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                text: header.text
                Accessible.ignored: true
            }
            Symbol {
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                name: "chevron.right"
                size: 13
                rotation: place.folded ? -90 : 90
                color: Theme.secondaryText
            }
        }
    }
    Loader {
        id: content

        anchors.top: header.bottom
        anchors.topMargin: place.beside ? Theme.margin : 0
        anchors.left: parent.left
        anchors.leftMargin: place.beside ? 0 : Theme.margin
        anchors.right: parent.right
        anchors.rightMargin: Theme.margin
        sourceComponent: place.beside || !place.folded ? place.preview : null
    }
}
