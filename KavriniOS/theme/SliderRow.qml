// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T

/// A row with a title, a value in words, and a slider below.
Item {
    id: row

    property string title
    property string valueText
    property string footer
    property alias from: slider.from
    property alias to: slider.to
    property alias stepSize: slider.stepSize
    property real value
    readonly property bool dragged: slider.pressed

    /// The user has moved the slider, or a screen reader has.
    signal moved(real value)

    width: parent.width
    implicitHeight: heading.implicitHeight + slider.implicitHeight + 2 * Theme.rowPadding - 4

    RowLayout {
        id: heading

        x: Theme.margin
        y: Theme.rowPadding
        width: parent.width - 2 * Theme.margin
        spacing: 14

        RowText {
            Layout.fillWidth: true
            text: row.title
        }
        Text {
            text: row.valueText
            textFormat: Text.PlainText
            color: Theme.secondaryText
            font.pixelSize: Theme.bodySize
            font.family: Theme.tabularFamily
            Accessible.ignored: true
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
        // A value that is clipped before completion is not a move: a stored value beyond the range stays stored until
        // the user moves the slider.
        property bool ready: false

        implicitHeight: 36
        snapMode: T.Slider.SnapAlways
        hoverEnabled: true
        onValueChanged: {
            if (ready && value !== row.value) {
                row.moved(value);
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
            const target = event.key === Qt.Key_Home ? from : event.key === Qt.Key_End ? to : undefined;
            if (target !== undefined) {
                row.moved(target);
                event.accepted = true;
            }
        }

        // This binding survives a value that a screen reader sets.
        Binding {
            target: slider
            property: "value"
            value: row.value
            restoreMode: Binding.RestoreNone
        }

        background: Rectangle {
            x: 0
            y: (slider.height - height) / 2
            width: slider.width
            height: 4
            radius: 2
            color: Theme.track

            Rectangle {
                x: slider.mirrored ? parent.width - width : 0
                width: slider.handle.width / 2
                       + (slider.mirrored ? 1 - slider.visualPosition : slider.visualPosition)
                         * (slider.width - slider.handle.width)
                height: parent.height
                radius: 2
                color: Theme.accent
            }
        }
        handle: Rectangle {
            x: slider.visualPosition * (slider.width - width)
            y: (slider.height - height) / 2
            width: 24
            height: 24
            radius: 12
            color: Theme.thumb
            border.width: 1
            border.color: Theme.hairline
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
