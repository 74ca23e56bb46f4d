// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Layouts
import Kavrin.Screens
import Kavrin.Theme

/// Says along the window's edge what was done to all settings, and takes it back. It has no height while there is
/// nothing to take back.
Item {
    id: strip

    required property SettingsUndo undo

    implicitHeight: bar.visible ? bar.height : 0

    Shortcut {
        sequences: [StandardKey.Undo]
        enabled: bar.visible
        onActivated: strip.undo.undo()
    }
    Rectangle {
        id: bar

        width: parent.width
        height: Math.max(Theme.rowHeight, content.implicitHeight)
        visible: strip.undo.text !== ""
        color: Theme.raised

        Rectangle {
            width: parent.width
            height: 1
            color: Theme.hairline
        }
        RowLayout {
            id: content

            anchors.fill: parent
            anchors.leftMargin: Theme.margin
            anchors.rightMargin: Theme.margin - 10
            spacing: 0

            RowText {
                Layout.fillWidth: true
                topPadding: Theme.rowPadding
                bottomPadding: Theme.rowPadding
                text: strip.undo.note || strip.undo.text
                color: strip.undo.note ? Theme.destructive : Theme.text
                Accessible.ignored: false
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
            PressButton {
                id: button

                Layout.fillHeight: true
                leftPadding: Theme.margin
                rightPadding: Theme.margin
                implicitWidth: implicitContentWidth + leftPadding + rightPadding
                text: qsTr("Undo")
                Accessible.description: strip.undo.text
                onClicked: strip.undo.undo()
                background: RowBackground {
                    control: button
                }
                contentItem: RowText {
                    text: button.text
                    color: Theme.accent
                    font.weight: Font.DemiBold
                    verticalAlignment: Text.AlignVCenter
                }
            }
            PressButton {
                id: dismissal

                Layout.fillHeight: true
                implicitWidth: 44
                text: qsTr("Dismiss")
                onClicked: strip.undo.clear()
                background: RowBackground {
                    control: dismissal
                }
                contentItem: Item {
                    Symbol {
                        anchors.centerIn: parent
                        name: "xmark.circle.fill"
                        size: 16
                        color: Theme.secondaryText
                    }
                }
            }
        }
    }
}
