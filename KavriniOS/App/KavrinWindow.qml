// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T
import Kavrin.App
import Kavrin.Dictation
import Kavrin.Screens
import Kavrin.Theme

/// The window: a stack of pages with the settings, and the dictation screen above them.
T.ApplicationWindow {
    id: window

    required property KavrinApp app
    property bool dictating: false
    /// Whether the keyboard moved the focus last. The next page shows the focus then, too.
    property bool keyboardInUse: false

    width: 420
    height: 760
    minimumWidth: 320
    minimumHeight: 240
    title: "Kavrin"
    color: Theme.background
    font: Qt.application.font
    LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true

    onActiveFocusItemChanged: {
        if (activeFocusItem?.visualFocus !== undefined && !pages.busy) {
            keyboardInUse = activeFocusItem.visualFocus;
        }
    }
    onDictatingChanged: {
        if (!dictating) {
            pages.focusCurrent();
        }
    }

    /// Shows the page with this id, unless the screen shows a running dictation.
    function openPage(id: string) {
        dictating = dictating && dictationScreen.item.busy;
        const first = pages.get(0);
        pages.pop(first, T.StackView.Immediate);
        first.openPage(id);
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

        readonly property real away: LayoutMirroring.enabled ? -width : width

        anchors.fill: parent
        focus: !window.dictating
        enabled: !window.dictating
        initialItem: SettingsView {
            settings: window.app.settings
            onDictate: window.dictating = true
        }
        onCurrentItemChanged: focusCurrent()

        function goBack() {
            if (depth > 1 && !busy) {
                pop();
            }
        }

        /// Gives the page the focus that it had before. If it had none and the keyboard is in use, its first control
        /// gets it.
        function focusCurrent() {
            currentItem?.forceActiveFocus();
            if (!window.keyboardInUse) {
                return;
            }
            if (window.activeFocusItem === currentItem) {
                currentItem.nextItemInFocusChain().forceActiveFocus(Qt.TabFocusReason);
            } else if (window.activeFocusItem?.visualFocus === false) {
                window.activeFocusItem.focusReason = Qt.TabFocusReason;
            }
        }

        Connections {
            target: pages.currentItem
            ignoreUnknownSignals: true

            function onBack() {
                pages.goBack();
            }
        }

        // This is in an item so that an open list gets Escape first.
        Shortcut {
            sequences: ["Escape", StandardKey.Back]
            enabled: !window.dictating
            onActivated: pages.goBack()
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
        id: dictationScreen

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
        onClicked: pages.goBack()
    }
}
