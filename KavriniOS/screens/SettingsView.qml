// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T
import Kavrin.Platform
import Kavrin.Screens
import Kavrin.Screens.Start
import Kavrin.Theme

/// The first screen: what a new user does first, how to enable the keyboard, a field to try it, and links to every page.
TitledPage {
    id: view

    required property SettingsModel settings
    /// Whether no other list of the pages is in view.
    property bool alone: true
    /// Whether the user has folded the preview, on all pages.
    property bool previewFolded: false
    /// The card for a new user; null if there is none.
    property GetStarted started: null

    /// The user wants to try dictation.
    signal dictate
    /// The user wants to fold the preview, or to see it again.
    signal previewFoldToggled

    title: alone ? "Kavrin" : "Start"
    searchable: alone

    function openPage(id: string, operation: int) {
        const stack = T.StackView.view;
        const page = settings.makePage(id);
        if (page) {
            stack.push(pageView, { page: page, pageId: id, actions: settings.actions }, operation);
        } else if (id === "dictionary") {
            stack.push(dictionaryView, { pageId: id }, operation);
        } else if (id === "help") {
            stack.push(helpView, { pageId: id }, operation);
        }
    }

    Component {
        id: pageView

        PageView {
            previewFolded: view.previewFolded
            onPreviewFoldToggled: view.previewFoldToggled()
            onDictate: view.dictate()
        }
    }
    Component {
        id: dictionaryView

        DictionaryView {
            files: view.settings.dictionaryFiles
        }
    }
    Component {
        id: helpView

        HelpView { }
    }

    Loader {
        width: parent.width
        active: view.started !== null
        visible: active && view.started.shown
        sourceComponent: GetStartedCard {
            started: view.started
            onOpenPage: id => view.openPage(id, view.alone ? T.StackView.PushTransition : T.StackView.Immediate)
            onDictate: view.dictate()
        }
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

    PageList {
        visible: view.alone
        settings: view.settings
        onOpened: id => view.openPage(id, T.StackView.PushTransition)
    }
}
