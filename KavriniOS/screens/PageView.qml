// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T
import Kavrin.Screens
import Kavrin.Screens.Preview
import Kavrin.Theme

/// One page of the settings catalogue.
TitledPage {
    id: view

    required property PageModel page
    required property SettingActions actions
    /// Shows what the page's settings do; null if there is nothing to show.
    property Component preview: pagesOfTheKeyboard.includes(pageId) ? keyboardPreview : null
    property bool previewFolded: false
    /// The pages with settings that the preview of the keyboard draws.
    readonly property var pagesOfTheKeyboard: ["layout", "look", "gestures", "correction"]
    /// The key of the row that the user has searched for.
    property string markedKey

    /// The user wants to try dictation.
    signal dictate

    /// The user wants to fold the preview, or to see it again.
    signal previewFoldToggled

    title: page.title
    // Below the page, it must leave half of the height for the settings.
    showsAside: preview !== null && (isAsideBeside || height >= 2 * aside.implicitHeight)
    aside: PreviewPlace {
        id: place

        preview: view.preview
        beside: view.isAsideBeside
        folded: view.previewFolded
        onFoldToggled: view.previewFoldToggled()
    }

    Component {
        id: keyboardPreview

        KeyboardPreview {
            id: keyboard

            maximumHeight: (view.isAsideBeside ? view.height - Theme.barHeight : Math.floor(view.height / 2))
                           - place.frameHeight
            // Settings may have changed on another page.
            onVisibleChanged: read()

            Connections {
                target: view.page

                function onTicked() {
                    keyboard.read();
                }
            }
        }
    }
    Component {
        id: toolbarOrderView

        ToolbarOrderView {
            page: view.page
            preview: view.preview
            previewFolded: view.previewFolded
            onPreviewFoldToggled: view.previewFoldToggled()
        }
    }

    Repeater {
        model: view.page.sections

        Card {
            id: card

            required property SectionModel modelData

            title: modelData.title
            visible: modelData.visible

            Repeater {
                model: card.modelData.settings

                SettingControl {
                    required property SettingModel modelData

                    setting: modelData
                    actions: view.actions
                    visible: setting.visible
                    marked: setting.key === view.markedKey
                    onMarkedChanged: {
                        if (marked) {
                            view.reveal(this);
                        }
                    }
                    onChanged: view.page.changed()
                    onDictate: view.dictate()
                    onOpenToolbar: view.T.StackView.view.push(toolbarOrderView)
                }
            }
        }
    }
}
