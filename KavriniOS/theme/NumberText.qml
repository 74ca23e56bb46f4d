// SPDX-License-Identifier: MIT
import QtQuick

/// A number in words, such as "54 pt". A click on it lets the user type the number instead: Return and leaving the field
/// take it, Escape does not.
Item {
    id: number

    /// The number in words.
    property string text
    /// What is edited.
    property string title
    property real value
    readonly property bool editing: field.visible

    /// The user has typed this number.
    signal entered(real value)
    /// The user has pressed a key that ends the editing.
    signal finished

    implicitWidth: Math.max(label.implicitWidth, field.visible ? field.contentWidth + 2 : 0)
    implicitHeight: label.implicitHeight

    function edit() {
        field.text = String(Number(value.toFixed(2)));
        field.visible = true;
        field.selectAll();
        field.forceActiveFocus();
    }

    /// Units and anything else behind the number do not matter.
    function take() {
        const typed = parseFloat(field.text.replace(",", "."));
        field.visible = false;
        if (!isNaN(typed)) {
            entered(typed);
        }
    }

    Rectangle {
        anchors.fill: parent
        anchors.margins: -5
        radius: 6
        color: pointer.hovered && !number.editing ? Theme.highlight : "transparent"
        border.width: number.editing ? 2 : 0
        border.color: Theme.accent
    }
    RowText {
        id: label

        anchors.right: parent.right
        visible: !number.editing
        text: number.text
        color: Theme.secondaryText
        wrapMode: Text.NoWrap
    }
    TextInput {
        id: field

        anchors.right: parent.right
        visible: false
        color: Theme.text
        selectionColor: Theme.accent
        selectedTextColor: Theme.accentText
        font: label.font
        selectByMouse: true
        inputMethodHints: Qt.ImhFormattedNumbersOnly
        onActiveFocusChanged: {
            if (!activeFocus && visible && !editMenu.opened) {
                number.take();
            }
        }
        Keys.forwardTo: editMenu
        Keys.onShortcutOverride: event => event.accepted = event.key === Qt.Key_Escape
        Keys.onEscapePressed: {
            visible = false;
            number.finished();
        }
        onAccepted: {
            number.take();
            number.finished();
        }
        Accessible.role: Accessible.EditableText
        Accessible.name: number.title
    }
    EditMenu {
        id: editMenu

        anchors.fill: parent
        enabled: number.editing
        editor: field
    }
    HoverHandler {
        id: pointer

        margin: 8
        cursorShape: Qt.IBeamCursor
    }
    TapHandler {
        enabled: !number.editing
        margin: 8
        onTapped: number.edit()
    }
}
