// SPDX-License-Identifier: MIT
import QtQuick
import Kavrin.Screens
import Kavrin.Theme

/// Links to every page, to the dictionary and to the help. They lead away, or choose what stands beside the list.
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

    Keys.onUpPressed: focusNext(-1)
    Keys.onDownPressed: focusNext(1)

    /// Gives the link of the page beside the list the focus.
    function focusCurrent() {
        shownLinks().find(link => link.current)?.forceActiveFocus(Qt.TabFocusReason);
    }

    /// Gives the focus to a link that is this many further down, if there is one.
    function focusNext(distance: int) {
        const links = shownLinks();
        links[links.findIndex(link => link.activeFocus) + distance]?.forceActiveFocus(Qt.TabFocusReason);
    }

    function shownLinks(): var {
        return [startLink, pageLinks, dictionaryLink, helpLink].filter(card => card.visible)
               .reduce((links, card) => links.concat(card.links()), []);
    }

    component PageLinks: Card {
        id: links

        property alias pages: repeater.model

        function links(): var {
            return Array.from({ length: repeater.count }, (nothing, index) => repeater.itemAt(index).link);
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
    PageLinks {
        id: helpLink

        pages: [{ id: "help", title: "Help", icon: "questionmark.circle" }]
    }
}
