// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Layouts
import Kavrin.Screens.Start
import Kavrin.Theme

/// One line of the card "Get started": whether it is done, what it is, and the buttons to do it. Give it buttons.
CardRow {
    id: line

    required property StartStep step
    required property int number
    default property alias buttons: flow.data

    textInset: Theme.margin + mark.width + content.spacing

    RowLayout {
        id: content

        x: Theme.margin
        width: line.width - 2 * Theme.margin
        spacing: 14

        Item {
            id: mark

            Layout.alignment: Qt.AlignTop
            Layout.topMargin: Theme.rowPadding
            implicitWidth: tick.extent
            implicitHeight: tick.extent

            Symbol {
                id: tick

                anchors.centerIn: parent
                visible: line.step.done
                name: "checkmark.circle.fill"
                size: 26
                color: Theme.good
            }
            Rectangle {
                anchors.fill: parent
                visible: !line.step.done
                radius: width / 2
                color: "transparent"
                border.width: 2
                border.color: Theme.secondaryText

                Text {
                    anchors.centerIn: parent
                    text: line.number
                    color: Theme.secondaryText
                    font.pixelSize: Theme.footnoteSize
                    font.weight: Font.DemiBold
                    Accessible.ignored: true
                }
            }
        }
        Column {
            Layout.fillWidth: true
            Layout.preferredWidth: 0
            topPadding: Theme.rowPadding
            bottomPadding: Theme.rowPadding
            spacing: 4

            RowText {
                width: parent.width
                text: line.step.title
                font.weight: Font.Medium
                Accessible.ignored: false
                Accessible.role: Accessible.StaticText
                Accessible.name: line.step.done ? qsTr("Done: %1").arg(text) : text
            }
            Footnote {
                width: parent.width
                text: line.step.text
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
            Problem {
                width: parent.width
                text: line.step.problem
            }
            Flow {
                id: flow

                width: parent.width
                topPadding: 6
                spacing: 8
                visible: !line.step.busy
            }
        }
    }
}
