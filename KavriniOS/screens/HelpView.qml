// SPDX-License-Identifier: MIT
import QtQuick
import Kavrin.Theme

/// The keys of the window, where more is written, and the version.
TitledPage {
    id: view

    title: "Help"

    component Line: CardRow {
        id: line

        required property var modelData

        Item {
            width: parent.width
            height: Math.max(Theme.rowHeight, pair.height + 2 * Theme.rowPadding)
            Accessible.role: Accessible.StaticText
            Accessible.name: line.modelData.keys + ": " + line.modelData.what

            TitleAndValue {
                id: pair

                anchors.left: parent.left
                anchors.right: parent.right
                anchors.margins: Theme.margin
                anchors.verticalCenter: parent.verticalCenter
                title: line.modelData.what

                RowText {
                    width: parent.width
                    text: line.modelData.keys
                    color: Theme.secondaryText
                }
            }
        }
    }

    Card {
        title: "Keys"

        Repeater {
            model: [
                { keys: "Ctrl+F", what: "Search settings; or just type" },
                { keys: "Tab", what: "Go to the next control" },
                { keys: "Escape, Alt+Left", what: "Go back" },
                { keys: "F6", what: "Go to the list of pages, and back to the page" },
                { keys: "Up, Down", what: "Walk through the list of pages" },
                { keys: "Page Up, Page Down", what: "Scroll by a page" },
                { keys: "Home, End", what: "Scroll to the top or the end" },
                { keys: "Ctrl+W", what: "Close the window" },
                { keys: "Ctrl+Q", what: "Quit Kavrin: dictation stops working" }
            ]
            Line { }
        }
    }
    Card {
        title: "More"

        Repeater {
            model: [
                { keys: "man kavrin", what: "What Kavrin does" },
                { keys: "man kavrinctl", what: "Settings and dictation from a terminal" },
                { keys: "kavrinctl doctor", what: "What works, and what to do if something does not" },
                { keys: Qt.application.version, what: "Version of Kavrin" }
            ]
            Line { }
        }
    }
}
