// SPDX-License-Identifier: MIT
import QtQuick
import Kavrin.Screens
import Kavrin.Theme

/// Edits the personal dictionary and text shortcuts as one block of text.
TitledPage {
    id: view

    readonly property DictionaryModel dictionary: DictionaryModel { }
    readonly property string footer: "One entry per line. A plain word is added to the dictionary. Write omw=on my way to create a text shortcut."

    /// Imports and exports the dictionary; null if nothing does.
    property DictionaryFiles files: null

    title: "Dictionary"
    Component.onCompleted: files?.clear()

    Column {
        width: parent.width
        spacing: 7

        Rectangle {
            width: parent.width
            height: editor.height
            radius: Theme.radius
            color: Theme.card
            border.width: Theme.edgeWidth
            border.color: Theme.edge

            Repeater {
                model: view.dictionary.marks

                Item {
                    id: mark

                    required property var modelData
                    readonly property rect first: editor.rectangleAt(modelData.from)
                    readonly property rect last: editor.rectangleAt(modelData.end)

                    y: first.y
                    width: parent.width
                    height: last.y + last.height - first.y

                    Rectangle {
                        anchors.fill: parent
                        opacity: 0.14
                        color: Theme.warning
                    }
                    Rectangle {
                        x: mark.LayoutMirroring.enabled ? parent.width - width : 0
                        width: 4
                        height: parent.height
                        color: Theme.warning
                    }
                }
            }
            TextEdit {
                id: editor

                /// Of a position, as the text is laid out now. It may have become shorter since it was counted.
                function rectangleAt(position: int): rect {
                    return contentHeight >= 0 && width >= 0 ? positionToRectangle(Math.min(position, length))
                                                            : Qt.rect(0, 0, 0, 0);
                }

                width: parent.width
                height: Math.max(220, implicitHeight)
                padding: Theme.margin
                readOnly: !view.dictionary.readable
                textFormat: TextEdit.PlainText
                wrapMode: TextEdit.Wrap
                color: Theme.text
                selectionColor: Theme.accent
                selectedTextColor: Theme.accentText
                font.family: Theme.monospaceFamily
                font.pixelSize: Theme.bodySize
                selectByMouse: true
                activeFocusOnTab: true
                inputMethodHints: Qt.ImhNoAutoUppercase | Qt.ImhNoPredictiveText
                onCursorRectangleChanged: {
                    if (activeFocus) {
                        const top = mapToItem(view.contentColumn, 0, cursorRectangle.y).y;
                        view.showRange(top, top + cursorRectangle.height);
                    }
                }
                Component.onCompleted: {
                    view.dictionary.edit(textDocument);
                    cursorPosition = 0;
                }

                Keys.forwardTo: editMenu
                // Tab leaves the editor, as it does everywhere else.
                Keys.onTabPressed: nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
                Keys.onBacktabPressed: nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)
                Accessible.role: Accessible.EditableText
                Accessible.name: view.title
                Accessible.description: view.footer
                Accessible.multiLine: true
                Accessible.readOnly: readOnly

                Connections {
                    target: view.dictionary

                    // What the user types next still belongs to their own line.
                    function onLinesAdded(from: int, end: int) {
                        if (editor.cursorPosition === end) {
                            editor.cursorPosition = from;
                        }
                    }
                }
            }
            EditMenu {
                id: editMenu

                anchors.fill: editor
                editor: editor
            }
            FocusRing {
                visible: editor.activeFocus
                radius: Theme.radius
            }
        }
        Problem {
            x: Theme.margin
            width: parent.width - 2 * Theme.margin
            text: view.dictionary.note
        }
        Footnote {
            x: Theme.margin
            width: parent.width - 2 * Theme.margin
            visible: text !== ""
            text: view.dictionary.faults
            color: Theme.warning
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        Footnote {
            x: Theme.margin
            width: parent.width - 2 * Theme.margin
            visible: text !== ""
            text: view.dictionary.readable ? view.dictionary.count : ""
            font.weight: Font.Medium
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        Footnote {
            x: Theme.margin
            width: parent.width - 2 * Theme.margin
            text: view.footer
            Accessible.ignored: true
        }
    }

    Card {
        visible: view.files !== null

        CardRow {
            ActionButton {
                text: qsTr("Import from a file")
                Accessible.description: qsTr("Adds the lines of a text file that are not there yet.")
                onClicked: view.files.importFile()
            }
        }
        CardRow {
            ActionButton {
                text: qsTr("Export to a file")
                onClicked: view.files.exportFile()
            }
        }
        CardRow {
            visible: note.text !== "" || problem.text !== ""

            Footnote {
                id: note

                x: Theme.margin
                width: parent.width - 2 * Theme.margin
                topPadding: Theme.rowPadding
                bottomPadding: Theme.rowPadding
                visible: text !== ""
                text: view.files?.note ?? ""
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
            Problem {
                id: problem

                x: Theme.margin
                width: parent.width - 2 * Theme.margin
                topPadding: Theme.rowPadding
                bottomPadding: Theme.rowPadding
                text: view.files?.problem ?? ""
            }
        }
    }
}
