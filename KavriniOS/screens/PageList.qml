// SPDX-License-Identifier: MIT
import QtQuick
import Kavrin.Screens
import Kavrin.Theme

/// Links to every page, and to the dictionary. They lead away, or choose what stands beside the list.
Column {
    id: list

    required property SettingsModel settings
    /// Whether the page stands beside the list. The list then has a link to the first screen, too.
    property bool beside: false
    /// The id of the page beside the list; empty for the first screen.
    property string current

    /// The user wants to see the page with this id; empty for the first screen.
    signal opened(id: string)

    width: parent.width
    spacing: 26

    /// Gives the link of the page beside the list the focus.
    function focusCurrent() {
        for (const links of [startLink, pageLinks, dictionaryLink]) {
            links.focusCurrent();
        }
    }

    component PageLinks: Card {
        id: links

        property alias pages: repeater.model

        function focusCurrent() {
            for (let index = 0; index < repeater.count; ++index) {
                const link = repeater.itemAt(index).link;
                if (link.current) {
                    link.forceActiveFocus(Qt.TabFocusReason);
                }
            }
        }

        Repeater {
            id: repeater

            CardRow {
                id: row

                required property var modelData
                readonly property LinkRow link: pageLink

                textInset: Theme.margin + Theme.symbolSize + 14

                LinkRow {
                    id: pageLink

                    text: row.modelData.title
                    symbol: row.modelData.icon
                    leadsAway: !list.beside
                    current: list.beside && list.current === row.modelData.id
                    onClicked: list.opened(row.modelData.id)
                }
            }
        }
    }

    PageLinks {
        id: startLink

        visible: list.beside
        pages: [{ id: "", title: "Start", icon: "gearshape" }]
    }
    PageLinks {
        id: pageLinks

        pages: list.settings.pages
    }
    PageLinks {
        id: dictionaryLink

        pages: [{ id: "dictionary", title: "Personal dictionary & shortcuts", icon: "character.book.closed" }]
    }
}
