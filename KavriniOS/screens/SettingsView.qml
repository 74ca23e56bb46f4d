// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T
import Kavrin.Platform
import Kavrin.Screens
import Kavrin.Theme

/// The first screen: how to enable the keyboard, a field to try it, and links to every page.
TitledPage {
    id: view

    required property SettingsModel settings

    /// The user wants to try dictation.
    signal dictate

    title: "Kavrin"

    function openPage(id: string) {
        T.StackView.view.push(pageView, {
            page: settings.makePage(id),
            actions: settings.actions
        });
    }

    Component {
        id: pageView

        PageView {
            onDictate: view.dictate()
        }
    }
    Component {
        id: dictionaryView

        DictionaryView { }
    }

    Card {
        title: "Setup"

        CardRow {
            Footnote {
                x: Theme.margin
                width: parent.width - 2 * Theme.margin
                topPadding: Theme.rowPadding
                bottomPadding: Theme.rowPadding
                text: Platform.text("Settings › General › Keyboard › Keyboards › Add New Keyboard › Kavrin, then enable Allow Full Access.")
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
        CardRow {
            FieldRow {
                placeholder: "Try the keyboard here"
                prose: true
            }
        }
    }

    Card {
        Repeater {
            model: view.settings.pages

            CardRow {
                id: row

                required property var modelData

                textInset: Theme.margin + Theme.symbolSize + 14

                LinkRow {
                    text: row.modelData.title
                    symbol: row.modelData.icon
                    onClicked: view.openPage(row.modelData.id)
                }
            }
        }
    }

    Card {
        CardRow {
            LinkRow {
                text: "Personal dictionary & shortcuts"
                symbol: "character.book.closed"
                onClicked: view.T.StackView.view.push(dictionaryView)
            }
        }
    }
}
