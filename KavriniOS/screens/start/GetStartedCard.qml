// SPDX-License-Identifier: MIT
import QtQuick
import Kavrin.Screens.Start
import Kavrin.Theme

/// What a new user does first: choose a speech service, get a key, try it. Each line shows whether it is done.
Column {
    id: card

    required property GetStarted started

    /// The user wants to see a page of the settings, or to try dictation.
    signal openPage(string id)
    signal dictate

    readonly property string title: started.done ? qsTr("All set") : qsTr("Get started")
    readonly property bool seen: visible && card.Window.active

    width: parent.width
    spacing: 7
    visible: started.shown
    Accessible.role: Accessible.Grouping
    Accessible.name: title
    Component.onCompleted: started.open()

    // What was done meanwhile on a page, in another window or in a dialog of the desktop.
    onSeenChanged: {
        if (seen)
            started.refresh();
    }

    component StepButton: PlainButton {
        width: parent ? Math.min(implicitWidth, parent.width) : implicitWidth
        implicitHeight: Math.max(Theme.rowHeight - 8, implicitContentHeight + topPadding + bottomPadding)
        leftPadding: 18
        rightPadding: 18
        topPadding: 6
        bottomPadding: 6

        Rectangle {
            z: -1
            anchors.fill: parent
            visible: !parent.prominent && !parent.down
            radius: Theme.radius
            color: Theme.highlight
        }
    }

    Item {
        width: parent.width
        height: dismiss.height

        Footnote {
            anchors.left: parent.left
            anchors.leftMargin: Theme.margin
            anchors.right: dismiss.left
            anchors.verticalCenter: parent.verticalCenter
            text: card.title
            font.weight: Font.Medium
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        PressButton {
            id: dismiss

            anchors.right: parent.right
            implicitWidth: implicitContentWidth + leftPadding + rightPadding
            implicitHeight: implicitContentHeight + topPadding + bottomPadding
            leftPadding: Theme.margin
            rightPadding: Theme.margin
            topPadding: 6
            bottomPadding: 6
            text: card.started.done ? qsTr("Close") : qsTr("Dismiss")
            onClicked: card.started.dismiss()
            background: RowBackground {
                control: dismiss
            }
            contentItem: Footnote {
                text: dismiss.text
                color: Theme.accent
                Accessible.ignored: true
            }
        }
    }

    Rectangle {
        width: parent.width
        height: lines.height
        radius: Theme.radius
        color: Theme.card
        border.width: Theme.highContrast ? 1 : 0
        border.color: Theme.edge

        Column {
            id: lines

            width: parent.width

            GetStartedLine {
                number: 1
                step: card.started.service

                StepButton {
                    visible: !card.started.service.done
                    prominent: true
                    text: qsTr("Use this machine")
                    onClicked: card.started.useThisMachine()
                }
                StepButton {
                    text: card.started.service.done ? qsTr("Change…") : qsTr("OpenAI, Gemini, other…")
                    onClicked: card.openPage("dictation")
                }
            }
            GetStartedLine {
                number: 2
                step: card.started.key

                StepButton {
                    visible: !card.started.key.done
                    prominent: card.started.service.done && !card.started.needsCommand
                    text: card.started.needsCommand ? qsTr("Ask again") : qsTr("Set up a key")
                    onClicked: card.started.setUpKey()
                }
                StepButton {
                    visible: card.started.needsCommand
                    text: qsTr("Copy the command")
                    onClicked: card.started.copyCommand()
                }
            }
            GetStartedLine {
                number: 3
                step: card.started.trial

                StepButton {
                    prominent: card.started.service.done && card.started.key.done && !card.started.trial.done
                    text: card.started.trial.done ? qsTr("Dictate again") : qsTr("Dictate")
                    onClicked: card.dictate()
                }
            }
        }
    }
}
