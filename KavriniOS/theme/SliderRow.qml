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
    property alias value: slider.value

    /// The user has moved the slider.
    signal moved(real value)

    width: parent.width
    implicitHeight: heading.implicitHeight + slider.implicitHeight + 2 * Theme.rowPadding - 4

    RowLayout {
        id: heading

        x: Theme.margin
        y: Theme.rowPadding
        width: parent.width - 2 * Theme.margin
        spacing: 14

        Text {
            Layout.fillWidth: true
            text: row.title
            textFormat: Text.PlainText
            color: Theme.text
            font.pixelSize: Theme.bodySize
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignLeft
            Accessible.ignored: true
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
        implicitHeight: 36
        snapMode: T.Slider.SnapAlways
        hoverEnabled: true
        onMoved: row.moved(value)
        Accessible.role: Accessible.Slider
        Accessible.name: row.title
        // Screen readers read a slider's number bare; the value in words goes first into its description.
        Accessible.description: row.footer ? row.valueText + ". " + row.footer : row.valueText
        Accessible.onIncreaseAction: step(true)
        Accessible.onDecreaseAction: step(false)
        Keys.onPressed: event => {
            const target = event.key === Qt.Key_Home ? from : event.key === Qt.Key_End ? to : undefined;
            if (target !== undefined) {
                row.moved(target);
                event.accepted = true;
            }
        }

        function step(up: bool) {
            const before = value;
            up ? increase() : decrease();
            if (value !== before) {
                row.moved(value);
            }
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
