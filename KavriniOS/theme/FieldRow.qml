// SPDX-License-Identifier: MIT
import QtQuick

/// A row with a line of text to edit in a box, under its title. A click anywhere in the row begins to edit. A text that
/// is longer than the box shows its beginning, unless the user edits it. If `secret`, the text is masked unless the user
/// asks to see it, and can only be pasted. Nothing is capitalised or corrected unless `prose`.
Item {
    id: row

    property string title
    property string placeholder
    property bool secret: false
    /// Whether a keyboard may capitalise, correct and suggest.
    property bool prose: false
    property string text
    property string footer
    /// Whether what the user types goes here.
    readonly property bool editing: field.activeFocus || editMenu.opened

    /// The user has changed the text, or a screen reader has.
    signal edited(string text)

    // In this order, because a field that no longer scrolls is not painted anew for its beginning.
    onEditingChanged: {
        if (!editing) {
            field.ensureVisible(0);
        }
        field.autoScroll = editing;
    }

    width: parent.width
    implicitHeight: (label.visible ? label.height + box.titleSpacing : 0) + box.height + 2 * Theme.rowPadding

    /// Begins to edit, as a click does.
    function edit() {
        field.forceActiveFocus(Qt.MouseFocusReason);
        Qt.inputMethod.show();
    }

    MouseArea {
        anchors.fill: parent
        onClicked: row.edit()
    }

    Footnote {
        id: label

        x: Theme.margin
        y: Theme.rowPadding
        width: parent.width - 2 * Theme.margin
        visible: row.title !== ""
        text: row.title
        Accessible.ignored: true
    }

    FocusScope {
        id: box

        // Qt 6.4 tells screen readers the plain text of a masked field, or leaves its name out. For a secret field they
        // find this box instead, with the text as it is shown.
        readonly property string text: field.displayText
        readonly property int cursorPosition: field.cursorPosition

        readonly property int titleSpacing: 4
        readonly property int inset: 10

        x: Theme.margin
        y: label.visible ? label.y + label.height + titleSpacing : Theme.rowPadding
        width: parent.width - 2 * Theme.margin
        height: field.height + 2 * 8
        Accessible.ignored: !row.secret
        Accessible.role: Accessible.EditableText
        Accessible.name: row.title
        Accessible.description: row.footer
        Accessible.focusable: true

        Rectangle {
            anchors.fill: parent
            radius: Theme.radius - 4
            color: Theme.background
            border.width: field.activeFocus ? 2 : Theme.edgeWidth
            border.color: field.activeFocus ? Theme.accent : Theme.edge
        }
        TextInput {
            id: field

            property bool revealed: false

            text: row.text
            maximumLength: 0x7fffffff // a text that the field cut short would be stored like that
            x: row.LayoutMirroring.enabled ? parent.width - width - box.inset : box.inset
            y: (parent.height - height) / 2
            width: parent.width - 2 * box.inset - (end.visible ? end.width : 0)
            height: Math.ceil(contentHeight)
            autoScroll: false
            // An address that is longer than the box begins at the left in any language.
            LayoutMirroring.enabled: row.LayoutMirroring.enabled && (row.prose || contentWidth <= width)
            focus: true
            activeFocusOnTab: true
            clip: true
            color: Theme.text
            selectionColor: Theme.accent
            selectedTextColor: Theme.accentText
            font.pixelSize: Theme.bodySize
            horizontalAlignment: TextInput.AlignLeft
            selectByMouse: true
            echoMode: row.secret && !revealed ? TextInput.Password : TextInput.Normal
            passwordCharacter: "•"
            inputMethodHints: (row.prose ? Qt.ImhNone : Qt.ImhNoAutoUppercase | Qt.ImhNoPredictiveText)
                              | (row.secret ? Qt.ImhSensitiveData | Qt.ImhHiddenText : 0)
            Keys.forwardTo: editMenu
            // A screen reader that sets the text causes no textEdited().
            onTextChanged: {
                if (text !== row.text) {
                    row.edited(text);
                }
            }
            Accessible.ignored: row.secret
            Accessible.role: Accessible.EditableText
            Accessible.name: row.title || row.placeholder
            Accessible.description: row.footer

            HoverHandler {
                cursorShape: Qt.IBeamCursor
            }
        }
        Text {
            anchors.fill: field
            visible: field.length === 0 && field.preeditText === ""
            text: row.placeholder
            textFormat: Text.PlainText
            color: Theme.secondaryText
            font: field.font
            elide: Text.ElideRight
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: 10
            horizontalAlignment: Text.AlignLeft
            verticalAlignment: Text.AlignVCenter
            Accessible.ignored: true
        }
        EditMenu {
            id: editMenu

            anchors.fill: parent
            editor: field
            pasteOnly: row.secret
        }
    }

    Row {
        id: end

        visible: row.secret
        x: row.LayoutMirroring.enabled ? box.x : box.x + box.width - width
        y: box.y
        height: box.height

        PressButton {
            id: paste

            visible: field.length === 0
            width: implicitContentWidth + 2 * box.inset
            height: parent.height
            text: qsTr("Paste")
            onClicked: {
                field.forceActiveFocus(Qt.OtherFocusReason);
                field.paste();
            }
            Accessible.name: qsTr("Paste %1").arg(row.title)
            background: RowBackground {
                control: paste
            }
            contentItem: RowText {
                text: paste.text
                color: Theme.accent
                verticalAlignment: Text.AlignVCenter
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.NoWrap
            }
        }
        PressButton {
            id: reveal

            visible: field.length > 0
            width: 40
            height: parent.height
            checkable: true
            text: checked ? qsTr("Hide %1").arg(row.title) : qsTr("Show %1").arg(row.title)
            onCheckedChanged: field.revealed = checked
            background: RowBackground {
                control: reveal
            }
            contentItem: Item {
                Symbol {
                    anchors.centerIn: parent
                    name: reveal.checked ? "eye.slash" : "eye"
                    color: Theme.secondaryText
                }
            }
        }
    }
}
