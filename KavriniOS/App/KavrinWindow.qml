// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T
import Kavrin.App
import Kavrin.Dictation
import Kavrin.Screens
import Kavrin.Theme

/// The window: the settings as a stack of pages, and the dictation screen over them.
T.ApplicationWindow {
    id: window

    required property KavrinApp app
    property bool dictating: false

    width: 420
    height: 760
    minimumWidth: 320
    minimumHeight: 240
    title: "Kavrin"
    color: Theme.background
    font: Qt.application.font
    LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true

    onDictatingChanged: {
        if (!dictating) {
            pages.focusCurrent(pages.byKeyboard);
        }
    }

    Binding {
        target: Theme
        property: "dark"
        value: window.app.dark
    }
    Binding {
        target: Theme
        property: "desktopAccent"
        value: window.app.accentColor
    }

    T.StackView {
        id: pages

        /// Whether the keyboard did what changed the page last, so that the focus is to be seen on the next one.
        property bool byKeyboard: false

        readonly property real away: LayoutMirroring.enabled ? -width : width

        anchors.fill: parent
        focus: !window.dictating
        enabled: !window.dictating
        initialItem: SettingsView {
            settings: window.app.settings
            onDictate: window.dictating = true
        }
        onCurrentItemChanged: focusCurrent(byKeyboard)

        function goBack(byKeyboard: bool) {
            if (depth > 1 && !busy) {
                pages.byKeyboard = byKeyboard;
                pop();
            }
        }

        function focusCurrent(visibly: bool) {
            currentItem?.forceActiveFocus(visibly ? Qt.TabFocusReason : Qt.OtherFocusReason);
        }

        Connections {
            target: pages.currentItem
            ignoreUnknownSignals: true

            function onBack() {
                pages.goBack(window.activeFocusItem?.visualFocus ?? false);
            }
        }

        // In an item, so that a list that is open keeps Escape for itself.
        Shortcut {
            sequences: ["Escape", StandardKey.Back]
            enabled: !window.dictating
            onActivated: pages.goBack(true)
        }

        component Slide: NumberAnimation {
            property: "x"
            duration: Theme.transition
            easing.type: Easing.OutCubic
        }

        pushEnter: Transition {
            Slide { from: pages.away; to: 0 }
        }
        pushExit: Transition {
            Slide { from: 0; to: -pages.away / 4 }
        }
        popEnter: Transition {
            Slide { from: -pages.away / 4; to: 0 }
        }
        popExit: Transition {
            Slide { from: 0; to: pages.away }
        }
    }

    Loader {
        anchors.fill: parent
        active: window.dictating
        focus: window.dictating
        sourceComponent: DictateView {
            models: window.app.dictateModels
            onClosed: window.dictating = false
        }
    }

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.BackButton
        enabled: !window.dictating
        onClicked: pages.goBack(false)
    }
}
