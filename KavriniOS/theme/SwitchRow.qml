// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T

/// A row with a switch; the whole row switches it. The switch is below the title if a word of it would not fit beside.
T.Switch {
    id: row

    readonly property bool fits: text === "" || longestWord.contentWidth + 14 <= availableWidth - indicator.width

    width: parent.width
    implicitHeight: Math.max(Theme.rowHeight, implicitContentHeight + topPadding + bottomPadding)
    leftPadding: Theme.margin
    rightPadding: Theme.margin
    topPadding: Theme.rowPadding
    bottomPadding: Theme.rowPadding + (fits ? 0 : indicator.height + 4)
    hoverEnabled: true
    Keys.onReturnPressed: event => flipOnce(event)
    Keys.onEnterPressed: event => flipOnce(event)
    Accessible.role: Accessible.CheckBox
    Accessible.name: text
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.onToggleAction: flip()
    Accessible.onPressAction: flip()

    LongestWord {
        id: longestWord

        text: row.text
    }

    function flipOnce(event: var) {
        if (!event.isAutoRepeat) {
            flip();
        }
    }

    function flip() {
        toggle();
        toggled();
    }

    containmentMask: ground.area

    background: RowBackground {
        id: ground

        control: row
    }
    contentItem: RowLayout {
        spacing: 14

        RowText {
            Layout.fillWidth: true
            text: row.text
        }
        Item {
            visible: row.fits
            implicitWidth: row.indicator.width
            implicitHeight: row.indicator.height - 2
        }
    }
    indicator: Rectangle {
        x: row.mirrored ? row.leftPadding : row.width - width - row.rightPadding
        y: row.fits ? (row.height - height) / 2 : row.height - height - Theme.rowPadding
        width: Math.round(50 * Theme.controlScale)
        height: Math.round(28 * Theme.controlScale)
        radius: height / 2
        color: row.checked ? Theme.accent : Theme.track
        border.width: row.checked ? 0 : Theme.edgeWidth
        border.color: Theme.edge

        Behavior on color {
            ColorAnimation {
                duration: Theme.quickTransition
            }
        }

        Rectangle {
            x: 2 + row.visualPosition * (parent.width - width - 4)
            y: 2
            width: parent.height - 4
            height: width
            radius: width / 2
            color: row.checked ? Theme.accentText : Theme.thumb
            border.width: row.checked ? 0 : Theme.edgeWidth
            border.color: Theme.edge

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
