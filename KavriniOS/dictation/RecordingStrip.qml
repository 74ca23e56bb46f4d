// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Layouts
import Kavrin.Dictation
import Kavrin.Theme

/// A strip along the window's edge while anything is recorded or transcribed, whoever has begun it: level, time, Stop.
/// It also says why the last dictation failed, until the user closes it. Otherwise it has no height.
Item {
    id: strip

    required property RecordingModel recording
    /// The window shows the same in another way.
    property bool covered: false

    readonly property bool wanted: !covered && (recording.busy || recording.problem !== "")

    implicitHeight: wanted ? content.implicitHeight : 0
    visible: implicitHeight > 0
    clip: true
    Accessible.role: Accessible.Pane
    Accessible.name: qsTr("Recording")
    Accessible.ignored: !wanted

    Behavior on implicitHeight {
        NumberAnimation {
            duration: Theme.quickTransition
            easing.type: Easing.OutCubic
        }
    }

    component StripButton: PlainButton {
        Layout.topMargin: 8
        Layout.bottomMargin: 8
        Layout.alignment: Qt.AlignRight
        implicitHeight: Math.max(Theme.rowHeight - 8, implicitContentHeight + topPadding + bottomPadding)
        leftPadding: 18
        rightPadding: 18
        topPadding: 6
        bottomPadding: 6
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.raised

        Rectangle {
            width: parent.width
            height: 1
            color: Theme.hairline
        }
    }

    ColumnLayout {
        id: content

        x: (strip.width - width) / 2
        width: Math.min(strip.width - 2 * Theme.margin, Theme.contentWidth)
        enabled: strip.wanted
        spacing: 0

        // The button is below the title where a word would break beside it.
        GridLayout {
            id: head

            readonly property real besideTitle: (meter.visible ? meter.implicitWidth + columnSpacing : 0)
                                                + (stop.visible ? stop : end).implicitWidth + columnSpacing
            readonly property bool isStacked: longestWord.contentWidth > content.width - besideTitle

            columns: isStacked ? 2 : 3
            columnSpacing: 12
            rowSpacing: 0

            LevelMeter {
                id: meter

                visible: strip.recording.recording
                level: strip.recording.level
            }
            RowText {
                Layout.fillWidth: true
                Layout.columnSpan: head.isStacked && !meter.visible ? 2 : 1
                text: strip.recording.recording ? qsTr("%1 %2").arg(strip.recording.title).arg(strip.recording.time)
                                                : strip.recording.title
                font.weight: Font.Medium
                Accessible.ignored: false
                Accessible.role: Accessible.StaticText
                // Not the time, which a screen reader would read out each second.
                Accessible.name: strip.recording.title
            }
            StripButton {
                id: stop

                Layout.columnSpan: head.isStacked ? 2 : 1
                visible: strip.recording.stoppable
                prominent: true
                text: qsTr("Stop")
                onClicked: strip.recording.stop()
            }
            StripButton {
                id: end

                Layout.columnSpan: head.isStacked ? 2 : 1
                visible: !strip.recording.stoppable
                text: strip.recording.busy ? qsTr("Cancel") : qsTr("Close")
                onClicked: strip.recording.busy ? strip.recording.cancel() : strip.recording.dismiss()
            }
        }
        LongestWord {
            id: longestWord

            text: strip.recording.title
            font.weight: Font.Medium
        }
        Problem {
            Layout.fillWidth: true
            Layout.bottomMargin: Theme.rowPadding
            text: strip.recording.problem
            color: strip.recording.busy ? Theme.warning : Theme.destructive
        }
    }
}
