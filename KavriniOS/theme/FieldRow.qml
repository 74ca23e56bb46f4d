// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T

/// A row with a line of text to edit, under its title. Where `secret`, the text is masked unless the user asks
/// to see it. Nothing is capitalised or corrected.
Item {
    id: row

    property string title
    property string placeholder
    property bool secret: false
    property alias text: field.text
    property string footer

    /// The user has changed the text.
    signal edited(string text)

    width: parent.width
    implicitHeight: Math.max(Theme.rowHeight, (label.visible ? label.height : 0) + field.implicitHeight
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

    T.TextField {
        id: field

        property bool revealed: false

        x: Theme.margin
        y: label.visible ? label.y + label.height : (row.height - height) / 2
        width: parent.width - 2 * Theme.margin - (reveal.visible ? reveal.width : 0)
        implicitHeight: Math.ceil(contentHeight) + topPadding + bottomPadding
        topPadding: 3
        bottomPadding: 3
        color: Theme.text
        selectionColor: Theme.accent
        selectedTextColor: Theme.onAccent
        placeholderTextColor: Theme.secondaryText
        placeholderText: row.placeholder
        font.pixelSize: Theme.bodySize
        horizontalAlignment: TextInput.AlignLeft
        selectByMouse: true
        echoMode: row.secret && !revealed ? TextInput.Password : TextInput.Normal
        passwordCharacter: "•"
        inputMethodHints: Qt.ImhNoAutoUppercase | Qt.ImhNoPredictiveText
                          | (row.secret ? Qt.ImhSensitiveData | Qt.ImhHiddenText : 0)
        onTextEdited: row.edited(text)
        Accessible.role: Accessible.EditableText
        Accessible.name: row.title || row.placeholder
        Accessible.description: row.footer

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
            anchors.bottom: parent.bottom
            anchors.bottomMargin: -3
            width: parent.width
            height: field.activeFocus ? 2 : 0
            color: Theme.accent
        }
    }

    T.AbstractButton {
        id: reveal

        visible: row.secret && field.length > 0
        x: row.width - width - Theme.margin + 10
        y: field.y + (field.height - height) / 2
        width: 40
        height: 40
        checkable: true
        hoverEnabled: true
        text: checked ? qsTr("Hide %1").arg(row.title) : qsTr("Show %1").arg(row.title)
        onCheckedChanged: field.revealed = checked
        Keys.onReturnPressed: toggle()
        Accessible.role: Accessible.Button
        Accessible.name: text
        Accessible.onPressAction: toggle()
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
