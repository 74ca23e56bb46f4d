// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T
import Kavrin.App
import Kavrin.Dictation
import Kavrin.Screens
import Kavrin.Theme

/// The window: the settings, and the dictation screen above them.
T.ApplicationWindow {
    id: window

    required property KavrinApp app
    property bool dictating: false
    /// The page that the window shows at first, and the one that it shows now (SettingsPanes).
    property alias initialPage: panes.initialPage
    readonly property alias page: panes.page
    property alias previewFolded: panes.previewFolded

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
            panes.focusCurrent();
        }
    }

    /// Shows the page with this id, unless the screen shows a running dictation.
    function openPage(id: string) {
        dictating = dictating && dictationScreen.item.busy;
        panes.openPage(id);
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
    Binding {
        target: Theme
        property: "highContrast"
        value: window.app.highContrast
    }
    Binding {
        target: Theme
        property: "reducedMotion"
        value: window.app.reducedMotion
    }

    SettingsPanes {
        id: panes

        anchors.fill: parent
        anchors.bottomMargin: strips.height
        focus: !window.dictating
        enabled: !window.dictating
        visible: !window.dictating // screen readers would find it beneath the dictation screen
        settings: window.app.settings
        started: window.app.getStarted
        onDictate: window.dictating = true
    }

    // A platform without a desktop has no standard keys for all of these.
    Shortcut {
        sequence: "Ctrl+W"
        onActivated: window.close()
    }
    Shortcut {
        sequence: "Ctrl+Q"
        onActivated: window.app.stop()
    }
    Shortcut {
        sequence: "F1"
        enabled: !window.dictating
        onActivated: panes.help()
    }
    Column {
        id: strips

        anchors.bottom: parent.bottom
        width: parent.width

        UndoStrip {
            width: parent.width
            visible: !window.dictating
            undo: window.app.settings.undo
        }
        RecordingStrip {
            width: parent.width
            height: implicitHeight
            recording: window.app.recording
            covered: window.dictating
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
}
