// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T

/// A row with a title, a value in words, and a slider below. A click on the value lets the user type it, and Return on
/// the slider does. Escape takes back what is dragged.
Item {
    id: row

    property string title
    property string valueText
    property string footer
    property alias from: slider.from
    property alias to: slider.to
    property alias stepSize: slider.stepSize
    property real value
    /// Has a mark on the track. NaN if there is none.
    property real defaultValue: NaN
    readonly property bool dragged: slider.pressed

    /// The user has moved the slider or typed a value, or a screen reader has.
    signal moved(real value)
    /// The user wants back what the value was when they took hold of the slider, which they still hold.
    signal takenBack

    width: parent.width
    implicitHeight: heading.implicitHeight + slider.implicitHeight + 2 * Theme.rowPadding - 4

    TitleAndValue {
        id: heading

        x: Theme.margin
        y: Theme.rowPadding
        width: parent.width - 2 * Theme.margin
        title: row.title

        NumberText {
            id: number

            objectName: "value"
            anchors.left: parent.left
            text: row.valueText
            title: row.title
            value: row.value
            onEntered: value => slider.moveTo(value)
            onFinished: slider.forceActiveFocus(Qt.TabFocusReason)
        }
    }

    T.Slider {
        id: slider

        x: Theme.margin
        anchors.top: heading.bottom
        width: parent.width - 2 * Theme.margin
        // Screen readers look for these two.
        readonly property real minimumValue: from
        readonly property real maximumValue: to
        // What is clipped, or changes before completion, is not a move: a stored value beyond the range stays stored
        // until the user moves the slider.
        property bool ready: false
        /// The user has taken back what they drag, and still holds it.
        property bool isTakenBack: false
        /// What Up, Page Up and their like add.
        readonly property var steps: ({
            [Qt.Key_Up]: stepSize,
            [Qt.Key_Down]: -stepSize,
            [Qt.Key_PageUp]: 10 * stepSize,
            [Qt.Key_PageDown]: -10 * stepSize,
            [Qt.Key_Home]: from - to,
            [Qt.Key_End]: to - from
        })

        function clipped(number: real): real {
            return Math.max(from, Math.min(number, to));
        }

        function moveTo(wanted: real) {
            const target = clipped(wanted);
            if (target !== row.value) {
                row.moved(target);
            }
        }

        /// Where the middle of the handle is when the slider stands at a value.
        function placeOf(number: real): real {
            const position = (clipped(number) - from) / (to - from);
            return handle.width / 2 + (mirrored ? 1 - position : position) * (width - handle.width);
        }

        implicitHeight: handle.height + 12
        snapMode: T.Slider.SnapAlways
        hoverEnabled: true
        onPressedChanged: isTakenBack = false
        onValueChanged: {
            if (ready && value !== clipped(row.value)) {
                if (!isTakenBack) {
                    row.moved(value);
                }
                value = row.value; // the old value, if the new one could not be stored
            }
        }
        Component.onCompleted: ready = true
        Accessible.role: Accessible.Slider
        Accessible.name: row.title
        // Screen readers read a slider's number without its unit, so the value in words comes first in its description.
        Accessible.description: row.footer ? row.valueText + ". " + row.footer : row.valueText
        Accessible.onIncreaseAction: increase()
        Accessible.onDecreaseAction: decrease()
        Keys.onPressed: event => {
            if (event.key in steps) {
                moveTo(value + steps[event.key]);
                event.accepted = true;
            }
        }
        Keys.onReturnPressed: number.edit()
        Keys.onEnterPressed: number.edit()
        Keys.onShortcutOverride: event => event.accepted = pressed && event.key === Qt.Key_Escape
        Keys.onEscapePressed: event => {
            event.accepted = pressed;
            if (pressed) {
                isTakenBack = true;
                row.takenBack();
            }
        }
        // The template takes the release of any key for the end of a drag.
        Keys.onReleased: event => event.accepted = pressed && event.key === Qt.Key_Escape

        // This binding survives a value that a screen reader sets.
        Binding {
            target: slider
            property: "value"
            value: row.value
            restoreMode: Binding.RestoreNone
        }

        background: Item {
            readonly property real middle: height / 2

            x: 0
            y: 0
            width: slider.width
            height: slider.height

            Rectangle {
                objectName: "track"
                y: parent.middle - 2
                width: parent.width
                height: 4
                radius: 2
                color: Theme.edge
            }
            Rectangle {
                objectName: "mark"
                visible: !isNaN(row.defaultValue)
                x: slider.placeOf(row.defaultValue) - 1
                y: parent.middle - 8
                width: 2
                height: 16
                color: Theme.edge
            }
            Rectangle {
                // From 0 if there are values on both sides of it.
                readonly property real start: row.from < 0 && row.to > 0 ? slider.placeOf(0)
                                                                          : slider.mirrored ? parent.width : 0
                readonly property real end: slider.placeOf(slider.value)

                objectName: "fill"
                x: Math.min(start, end)
                y: parent.middle - 2
                width: Math.abs(end - start)
                height: 4
                radius: 2
                color: Theme.accent
            }
        }
        handle: Rectangle {
            x: slider.visualPosition * (slider.width - width)
            y: (slider.height - height) / 2
            width: Math.round(24 * Theme.controlScale)
            height: width
            radius: width / 2
            color: Theme.thumb
            border.width: Theme.edgeWidth
            border.color: Theme.edge
            scale: slider.pressed ? 1.12 : 1

            Behavior on scale {
                NumberAnimation {
                    duration: Theme.quickTransition
                }
            }

            FocusRing {
                anchors.margins: -4
                radius: width / 2
                control: slider
            }
        }
    }
}
