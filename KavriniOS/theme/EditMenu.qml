// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T

/// Cut, copy and paste for the editor, a TextInput or TextEdit, that lies below it: a right click opens the menu, and
/// so do a long press, which selects a word, and the Menu key and Shift+F10, if the editor forwards its keys. A text that
/// is `pasteOnly` can be neither cut nor copied, with no key either.
Item {
    id: editMenu

    required property Item editor
    property bool pasteOnly: false
    readonly property bool opened: menu?.visible ?? false
    property T.Menu menu: null

    Keys.onPressed: event => {
        if (event.key === Qt.Key_Menu || event.key === Qt.Key_F10 && event.modifiers === Qt.ShiftModifier) {
            const cursor = editor.cursorRectangle;
            open(editor.mapToItem(editMenu, cursor.x, cursor.y + cursor.height));
            event.accepted = true;
        } else {
            event.accepted = pasteOnly && (event.matches(StandardKey.Copy) || event.matches(StandardKey.Cut));
        }
    }

    function open(place: point) {
        menu = menu ?? menuOnDemand.createObject(editMenu);
        menu.popup(place);
    }

    /// Puts the cursor there, unless what is there is selected.
    function placeCursor(place: point) {
        const inEditor = editor.mapFromItem(editMenu, place);
        const position = editor.positionAt(inEditor.x, inEditor.y);
        editor.forceActiveFocus(Qt.MouseFocusReason);
        if (position < editor.selectionStart || position > editor.selectionEnd) {
            editor.cursorPosition = position;
        }
    }

    function pointAtWord(place: point) {
        placeCursor(place);
        if (!pasteOnly && editor.selectedText === "") {
            editor.selectWord();
        }
    }

    function openAtWord(place: point) {
        pointAtWord(place);
        open(place);
    }

    // What is selected stays so while the menu takes the focus.
    Binding {
        target: editMenu.editor
        property: "persistentSelection"
        value: true
        when: editMenu.opened
    }
    TapHandler {
        acceptedButtons: Qt.RightButton
        onTapped: eventPoint => {
            editMenu.placeCursor(eventPoint.position);
            editMenu.open(eventPoint.position);
        }
    }
    TapHandler {
        property bool isLong: false
        property point place

        acceptedDevices: PointerDevice.TouchScreen | PointerDevice.Stylus
        onLongPressed: {
            isLong = true;
            place = point.position;
            editMenu.pointAtWord(place);
        }
        onPressedChanged: {
            if (!pressed && isLong) {
                isLong = false;
                Qt.callLater(editMenu.openAtWord, place); // the editor takes the release for a tap
            }
        }
    }

    component Entry: T.MenuItem {
        id: entry

        width: parent?.width ?? 0
        height: visible ? Math.max(40, implicitContentHeight + topPadding + bottomPadding) : 0
        padding: 8
        leftPadding: 12
        rightPadding: 12
        Accessible.role: Accessible.MenuItem
        Accessible.name: text
        Accessible.onPressAction: {
            triggered();
            editMenu.menu.close();
        }

        background: Rectangle {
            radius: Theme.radius - 4
            color: entry.down ? Theme.pressed : entry.highlighted ? Theme.highlight : "transparent"

            FocusRing {
                control: entry
                radius: parent.radius
            }
        }
        contentItem: RowText {
            text: entry.text
            color: entry.enabled ? Theme.text : Theme.secondaryText
            verticalAlignment: Text.AlignVCenter
        }
    }

    Component {
        id: menuOnDemand

        T.Menu {
            id: menu

            width: 10 * Theme.bodySize
            implicitHeight: contentItem.implicitHeight + 2 * padding
            margins: 12
            padding: 6
            onClosed: editMenu.editor.forceActiveFocus(Qt.PopupFocusReason)
            background: PopupFrame { }
            contentItem: ListView {
                implicitHeight: contentHeight
                model: menu.contentModel
                currentIndex: menu.currentIndex
                highlightMoveDuration: 0
                interactive: false
                Accessible.role: Accessible.PopupMenu
            }

            Entry {
                text: qsTr("Cut")
                visible: !editMenu.pasteOnly
                enabled: visible && editMenu.editor.selectedText !== "" && !editMenu.editor.readOnly
                onTriggered: editMenu.editor.cut()
            }
            Entry {
                text: qsTr("Copy")
                visible: !editMenu.pasteOnly
                enabled: visible && editMenu.editor.selectedText !== ""
                onTriggered: editMenu.editor.copy()
            }
            Entry {
                text: qsTr("Paste")
                enabled: !editMenu.editor.readOnly
                onTriggered: editMenu.editor.paste()
            }
        }
    }
}
