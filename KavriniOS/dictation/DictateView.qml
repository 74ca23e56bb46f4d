// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Kavrin.Dictation
import Kavrin.Platform
import Kavrin.Theme

/// The dictation screen. It records from its creation, and releases its recorder when it is destroyed. A Loader makes a
/// new screen for each presentation.
FocusScope {
    id: view

    required property DictateModelFactory models
    readonly property DictateModel rec: models.make(view)
    readonly property bool busy: rec.recording || rec.working
    readonly property bool sideBySide: width > height && height < 560

    /// The user wants to close the screen. That drops a recording, but not a transcription.
    signal closed

    function placeFocus() {
        const from = stopButton.visible ? closeButton : stopButton;
        const to = stopButton.visible ? stopButton : closeButton;
        to.forceActiveFocus(from.focusReason);
    }

    function scrollTo(y: real) {
        const last = flickable.contentHeight - flickable.height;
        flickable.contentY = Math.max(0, Math.min(y, last));
    }

    /// If there is not enough room for everything, the microphone disappears.
    function showMessage() {
        scrollTo(message.mapToItem(flickable.contentItem, 0, 0).y - Theme.margin);
    }

    focus: true
    Keys.onEscapePressed: closed()
    Keys.onUpPressed: scrollTo(flickable.contentY - Theme.rowHeight)
    Keys.onDownPressed: scrollTo(flickable.contentY + Theme.rowHeight)
    Keys.onPressed: event => {
        if (event.key === Qt.Key_PageUp || event.key === Qt.Key_PageDown) {
            const page = event.key === Qt.Key_PageUp ? -flickable.height : flickable.height;
            scrollTo(flickable.contentY + page);
            event.accepted = true;
        }
    }
    Component.onCompleted: {
        closeButton.forceActiveFocus();
        rec.start();
    }

    Accessible.role: Accessible.Dialog
    Accessible.name: qsTr("Dictation")

    Rectangle {
        anchors.fill: parent
        color: Theme.background
    }

    // Items below this one get no clicks.
    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
        hoverEnabled: true
        onWheel: wheel => wheel.accepted = true
    }

    // Screen readers speak a notification when it appears, so it appears again with each message.
    Item {
        objectName: "announcement"
        width: 1
        height: 1
        Accessible.role: Accessible.Notification
        Accessible.name: view.rec.message
        Accessible.onNameChanged: {
            visible = false;
            visible = true;
        }
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 24

        Flickable {
            id: flickable

            objectName: "flickable"
            Layout.fillWidth: true
            Layout.fillHeight: true
            contentWidth: width
            contentHeight: Math.max(height, content.implicitHeight + 24)
            interactive: contentHeight > height
            boundsBehavior: Flickable.DragOverBounds
            clip: true
            T.ScrollBar.vertical: ScrollBar { }
            onHeightChanged: Qt.callLater(view.showMessage)
            onContentHeightChanged: Qt.callLater(view.showMessage)

            GridLayout {
                id: content

                x: (parent.width - width) / 2
                y: (flickable.contentHeight - height) / (view.sideBySide ? 2 : 1)
                width: Math.min(parent.width, Theme.contentWidth)
                columns: view.sideBySide ? 2 : 1
                rowSpacing: 24

                Microphone {
                    Layout.alignment: Qt.AlignHCenter | Qt.AlignTop
                    rec: view.rec
                }
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 24

                    Symbol {
                        objectName: "failure"
                        Layout.alignment: Qt.AlignHCenter
                        visible: view.rec.failed
                        name: "exclamationmark.triangle.fill"
                        size: 28
                        color: Theme.destructive
                    }
                    TextEdit {
                        id: message

                        objectName: "message"
                        Layout.fillWidth: true
                        Layout.leftMargin: Theme.margin
                        Layout.rightMargin: Theme.margin
                        text: view.rec.message
                        textFormat: TextEdit.PlainText
                        readOnly: true
                        selectByMouse: true
                        wrapMode: TextEdit.Wrap
                        horizontalAlignment: TextEdit.AlignHCenter
                        color: view.rec.failed ? Theme.destructive : Theme.text
                        selectionColor: Theme.accent
                        selectedTextColor: Theme.accentText
                        font.pixelSize: Theme.bodySize
                        Accessible.role: Accessible.StaticText
                        Accessible.name: text
                    }
                    Problem {
                        objectName: "silence"
                        Layout.fillWidth: false
                        Layout.alignment: Qt.AlignHCenter
                        Layout.maximumWidth: content.width - 2 * Theme.margin
                        text: view.rec.silence
                        color: Theme.warning
                    }
                    Footnote {
                        objectName: "hint"
                        Layout.fillWidth: true
                        Layout.margins: Theme.margin
                        visible: view.rec.done
                        horizontalAlignment: Text.AlignHCenter
                        text: Platform.text("Swipe back to your app. The text is inserted when the keyboard reappears and is also on your clipboard.")
                        Accessible.role: Accessible.StaticText
                        Accessible.name: text
                    }
                }
            }
        }

        GridLayout {
            Layout.alignment: Qt.AlignHCenter
            Layout.fillWidth: false
            columns: view.sideBySide ? 2 : 1
            rowSpacing: 24

            PlainButton {
                id: stopButton

                Layout.alignment: Qt.AlignHCenter
                visible: view.rec.recording
                prominent: true
                text: qsTr("Stop")
                onVisibleChanged: Qt.callLater(view.placeFocus)
                onClicked: view.rec.stop()
            }
            PlainButton {
                id: closeButton

                Layout.alignment: Qt.AlignHCenter
                Layout.margins: Theme.margin
                text: qsTr("Close")
                onClicked: view.closed()
            }
        }
    }
}
