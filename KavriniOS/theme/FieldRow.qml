// SPDX-License-Identifier: MIT
import QtQuick

/// A row with a line of text to edit, under its title. If `secret`, the text is masked unless the user asks to see it.
/// Nothing is capitalised or corrected unless `prose`.
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
    readonly property bool editing: field.activeFocus

    /// The user has changed the text, or a screen reader has.
    signal edited(string text)

    width: parent.width
    implicitHeight: Math.max(Theme.rowHeight, (label.visible ? label.height : 0) + box.height
                                              + 2 * Theme.rowPadding)

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

        x: Theme.margin
        y: label.visible ? label.y + label.height : (row.height - height) / 2
        width: parent.width - 2 * Theme.margin - (reveal.visible ? reveal.width : 0)
        height: field.height
        Accessible.ignored: !row.secret
        Accessible.role: Accessible.EditableText
        Accessible.name: row.title
        Accessible.description: row.footer
        Accessible.focusable: true

        TextInput {
            id: field

            property bool revealed: false

            text: row.text
            maximumLength: 0x7fffffff // a text that the field cut short would be stored like that
            width: parent.width
            height: Math.ceil(contentHeight) + topPadding + bottomPadding
            topPadding: 3
            bottomPadding: 3
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
            anchors.fill: parent
            visible: field.length === 0 && field.preeditText === ""
            text: row.placeholder
            textFormat: Text.PlainText
            color: Theme.secondaryText
            font: field.font
            elide: Text.ElideRight
            horizontalAlignment: Text.AlignLeft
            verticalAlignment: Text.AlignVCenter
            Accessible.ignored: true
        }
        Rectangle {
            y: parent.height + 1
            width: parent.width
            height: 2
            visible: field.activeFocus
            color: Theme.accent
        }
    }

    PressButton {
        id: reveal

        visible: row.secret && field.length > 0
        x: row.LayoutMirroring.enabled ? Theme.margin - 10 : row.width - width - Theme.margin + 10
        y: box.y + (box.height - height) / 2
        width: 40
        height: 40
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
