// SPDX-License-Identifier: MIT
import QtQuick
import Kavrin.Platform
import Kavrin.Screens
import Kavrin.Theme

/// The row of an action: a button, a link or a status. The row of an unknown action is empty.
Loader {
    id: row

    required property SettingModel setting
    required property SettingActions actions

    signal changed
    signal dictate
    signal openToolbar

    width: parent.width
    sourceComponent: ({
        "act.toolbar": toolbar,
        "act.testDictation": testDictation,
        "act.contacts": contacts,
        "act.syncStatus": syncStatus,
        "act.copyConfig": copyConfig,
        "act.resetAll": resetAll
    })[setting.action] ?? null

    Component {
        id: toolbar

        LinkRow {
            text: row.setting.title
            onClicked: row.openToolbar()
        }
    }
    Component {
        id: testDictation

        ActionButton {
            text: row.setting.title
            onClicked: row.dictate()
        }
    }
    Component {
        id: contacts

        Loader {
            // Reads the status again with every tick.
            readonly property int status: row.setting.tick >= 0 ? row.actions.contactsStatus() : 0

            width: parent.width
            sourceComponent: status === SettingActions.NotDetermined ? contactsUnasked
                : status === SettingActions.Authorized ? contactsAllowed : contactsDenied
        }
    }
    Component {
        id: contactsUnasked

        ActionButton {
            text: "Allow contacts access"
            onClicked: row.actions.requestContacts(row.setting)
        }
    }
    Component {
        id: contactsAllowed

        StatusRow {
            text: "Allowed"
            symbol: "checkmark.circle.fill"
            color: Theme.good
        }
    }
    Component {
        id: contactsDenied

        StatusRow {
            text: Platform.text("Denied. Enable Contacts for Kavrin in iOS Settings.")
            color: Theme.secondaryText
        }
    }
    Component {
        id: syncStatus

        Loader {
            readonly property bool shared: row.setting.tick >= 0 && row.actions.sharesSettings()

            width: parent.width
            sourceComponent: shared ? settingsShared : settingsNotShared
        }
    }
    Component {
        id: settingsShared

        StatusRow {
            text: "Keyboard and app share settings"
            symbol: "checkmark.circle.fill"
            color: Theme.good
        }
    }
    Component {
        id: settingsNotShared

        Column {
            width: parent.width
            spacing: -6

            StatusRow {
                text: Platform.text("Not shared (keyboard keeps its own copy)")
                symbol: "exclamationmark.triangle.fill"
                color: Theme.warning
            }
            Footnote {
                x: Theme.margin
                width: parent.width - 2 * Theme.margin
                bottomPadding: Theme.rowPadding
                text: Platform.text("Sideloading often strips the App Group. Use “Copy all settings & keys” here, then “Import settings from clipboard” in the keyboard's own settings.")
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
    }
    Component {
        id: copyConfig

        ActionButton {
            text: row.setting.title
            onClicked: row.actions.copyConfig(row.setting)
        }
    }
    Component {
        id: resetAll

        ActionButton {
            text: row.setting.title
            destructive: true
            Accessible.description: row.setting.footer
            onClicked: row.actions.resetAll(row.setting)
        }
    }
}
