// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T
import Kavrin.Screens
import Kavrin.Theme

/// A field for words to search for, above what they find. Up and Down choose a result, Return opens it.
FocusScope {
    id: view

    /// What the user has typed so far.
    property alias text: field.text
    readonly property SearchModel search: SearchModel {
        text: field.text
    }

    /// The user wants to see this row of this page, or the page if there is no key.
    signal opened(page: string, key: string)
    /// The user no longer wants to search.
    signal closed

    /// Takes what the user has typed already, and then the keyboard.
    function begin(typed: string) {
        field.insert(field.length, typed);
        field.forceActiveFocus(Qt.ShortcutFocusReason);
        field.cursorPosition = field.length;
    }

    function openResult(index: int) {
        const result = search.results[index];
        if (result) {
            opened(result.page, result.key);
        }
    }

    Keys.onEscapePressed: closed()
    Accessible.role: Accessible.Pane
    Accessible.name: qsTr("Search")

    Rectangle {
        anchors.fill: parent
        color: Theme.background
    }
    // What is below gets no clicks.
    MouseArea {
        anchors.fill: parent
        hoverEnabled: true
        onWheel: wheel => wheel.accepted = true
    }

    PressButton {
        id: backButton

        anchors.left: parent.left
        anchors.leftMargin: 6
        anchors.verticalCenter: box.verticalCenter
        width: 44
        height: 44
        text: qsTr("Back")
        onClicked: view.closed()
        background: RowBackground {
            control: backButton
        }
        contentItem: Item {
            Symbol {
                anchors.centerIn: parent
                name: "chevron.left"
                color: Theme.accent
                mirror: view.LayoutMirroring.enabled
            }
        }
    }
    Rectangle {
        id: box

        anchors.left: backButton.right
        anchors.right: parent.right
        anchors.rightMargin: Theme.margin
        y: Math.max(6, (Theme.barHeight - height) / 2)
        height: field.implicitHeight + 2 * 9
        radius: Theme.radius
        color: Theme.card
        border.width: field.activeFocus ? 2 : Theme.edgeWidth
        border.color: field.activeFocus ? Theme.accent : Theme.edge

        Symbol {
            id: glass

            anchors.left: parent.left
            anchors.leftMargin: 12
            anchors.verticalCenter: parent.verticalCenter
            name: "magnifyingglass"
            size: 16
            color: Theme.secondaryText
        }
        TextInput {
            id: field

            anchors.left: glass.right
            anchors.leftMargin: 10
            anchors.right: parent.right
            anchors.rightMargin: 12
            anchors.verticalCenter: parent.verticalCenter
            focus: true
            activeFocusOnTab: true
            clip: true
            color: Theme.text
            selectionColor: Theme.accent
            selectedTextColor: Theme.accentText
            font.pixelSize: Theme.bodySize
            horizontalAlignment: TextInput.AlignLeft
            selectByMouse: true
            inputMethodHints: Qt.ImhNoAutoUppercase | Qt.ImhNoPredictiveText
            onAccepted: view.openResult(list.currentIndex)
            Keys.forwardTo: editMenu
            Keys.onUpPressed: list.decrementCurrentIndex()
            Keys.onDownPressed: list.incrementCurrentIndex()
            Accessible.role: Accessible.EditableText
            Accessible.name: qsTr("Search settings")
            Accessible.searchEdit: true

            Text {
                anchors.fill: parent
                visible: field.length === 0 && field.preeditText === ""
                text: qsTr("Search settings")
                textFormat: Text.PlainText
                color: Theme.secondaryText
                font: field.font
                elide: Text.ElideRight
                Accessible.ignored: true
            }
        }
        EditMenu {
            id: editMenu

            anchors.fill: parent
            editor: field
        }
    }

    ListView {
        id: list

        anchors.top: box.bottom
        anchors.topMargin: 8
        anchors.bottom: parent.bottom
        x: (parent.width - width) / 2
        width: Math.min(parent.width, Theme.contentWidth + 2 * Theme.margin)
        clip: true
        model: view.search.results
        currentIndex: 0
        highlightMoveDuration: 0
        boundsBehavior: Flickable.DragOverBounds
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Results")
        T.ScrollBar.vertical: ScrollBar { }
        onModelChanged: currentIndex = 0

        delegate: SearchResult {
            required property int index
            required property var modelData

            width: ListView.view.width
            text: modelData.title
            where: modelData.where
            current: ListView.isCurrentItem
            onClicked: view.openResult(index)
        }
    }
    Footnote {
        id: nothing

        anchors.top: box.bottom
        anchors.topMargin: Theme.margin
        x: Theme.margin
        width: parent.width - 2 * Theme.margin
        visible: text !== ""
        text: field.text.trim() === "" || list.count > 0 ? "" : qsTr("Nothing found for “%1”.").arg(field.text.trim())
        horizontalAlignment: Text.AlignHCenter
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
