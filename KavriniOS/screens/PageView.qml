// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T
import Kavrin.Screens
import Kavrin.Theme

/// One page of the settings catalogue.
TitledPage {
    id: view

    required property PageModel page
    required property SettingActions actions

    /// The user wants to try dictation.
    signal dictate

    title: page.title

    Component {
        id: toolbarOrderView

        ToolbarOrderView {
            page: view.page
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
                    onChanged: view.page.changed()
                    onDictate: view.dictate()
                    onOpenToolbar: view.T.StackView.view.push(toolbarOrderView)
                }
            }
        }
    }
}
