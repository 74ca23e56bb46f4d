// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T

/// A row with a switch; the whole row switches it.
T.Switch {
    id: row

    width: parent.width
    implicitHeight: Math.max(Theme.rowHeight, implicitContentHeight + topPadding + bottomPadding)
    leftPadding: Theme.margin
    rightPadding: Theme.margin
    topPadding: Theme.rowPadding
    bottomPadding: Theme.rowPadding
    hoverEnabled: true
    Keys.onReturnPressed: event => flipOnce(event)
    Keys.onEnterPressed: event => flipOnce(event)
    Accessible.role: Accessible.CheckBox
    Accessible.name: text
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.onToggleAction: flip()
    Accessible.onPressAction: flip()

    function flipOnce(event: var) {
        if (!event.isAutoRepeat) {
            flip();
        }
    }

    function flip() {
        toggle();
        toggled();
    }

    background: RowBackground {
        control: row
    }
    contentItem: RowLayout {
        spacing: 14

        RowText {
            Layout.fillWidth: true
            text: row.text
        }
        Item {
            implicitWidth: 50
            implicitHeight: 26
        }
    }
    indicator: Rectangle {
        x: row.mirrored ? row.leftPadding : row.width - width - row.rightPadding
        y: (row.height - height) / 2
        width: 50
        height: 28
        radius: height / 2
        color: row.checked ? Theme.accent : Theme.track

        Behavior on color {
            ColorAnimation {
                duration: Theme.quickTransition
            }
        }

        Rectangle {
            x: 2 + row.visualPosition * (parent.width - width - 4)
            y: 2
            width: 24
            height: 24
            radius: 12
            color: Theme.thumb

            Behavior on x {
                enabled: !row.pressed
                NumberAnimation {
                    duration: Theme.quickTransition
                    easing.type: Easing.OutCubic
                }
            }
        }
    }
}
