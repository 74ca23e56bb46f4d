// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T
import Kavrin.Screens
import Kavrin.Screens.Start
import Kavrin.Theme

/// All settings: a stack of pages and, where there is room beside it, the list of pages.
FocusScope {
    id: panes

    required property SettingsModel settings
    /// The card for a new user; null if there is none.
    property GetStarted started: null
    /// The id of the page that is shown at first; empty for the first screen.
    property string initialPage
    /// The id of the page that was chosen last; empty for the first screen.
    readonly property string page: stack.depth > 1 ? stack.get(1).pageId : ""
    /// Whether the user has folded the preview, on all pages.
    property bool previewFolded: false
    readonly property bool wide: width >= Theme.twoPanesWidth
    /// Whether the keyboard moved the focus last. The next page shows the focus then, too.
    property bool keyboardInUse: false
    readonly property Item focusedItem: Window.activeFocusItem
    property bool searching: false

    /// The user wants to try dictation.
    signal dictate

    onFocusedItemChanged: {
        if (focusedItem?.visualFocus !== undefined && !stack.busy) {
            keyboardInUse = focusedItem.visualFocus;
        }
    }
    Component.onCompleted: {
        if (initialPage !== "") {
            stack.get(0).openPage(initialPage, T.StackView.Immediate);
        }
    }

    /// Shows the page with this id; without an id, the first screen.
    function openPage(id: string) {
        const first = stack.get(0);
        stack.pop(first, T.StackView.Immediate);
        if (id !== "") {
            first.openPage(id, wide ? T.StackView.Immediate : T.StackView.PushTransition);
        }
    }

    /// Shows how to use the window. The way back from there leads to what was shown before.
    function help() {
        searching = false;
        if (stack.currentItem.pageId !== "help") {
            stack.get(0).openPage("help", wide ? T.StackView.Immediate : T.StackView.PushTransition);
        }
    }

    /// Begins a search with what the user has typed already, if anything.
    function find(typed: string) {
        searching = true;
        searchScreen.item.begin(typed);
    }

    function endSearch() {
        searching = false;
        focusCurrent();
    }

    /// Shows a page that was found; marks the row with this key, if there is a key.
    function openFound(id: string, key: string) {
        endSearch();
        openPage(id);
        if (key !== "") {
            stack.currentItem.markedKey = key;
        }
    }

    // Typing begins a search where neither a field nor a control has the focus: there the page itself has it.
    Keys.onPressed: event => {
        const isCommand = event.modifiers & (Qt.ControlModifier | Qt.AltModifier | Qt.MetaModifier);
        if (focusedItem?.pageId !== undefined && !isCommand && event.text > " " && event.text !== "\x7f") {
            find(event.text);
            event.accepted = true;
        }
    }

    /// Gives the page the focus that it had before. If it had none and the keyboard is in use, its first control gets
    /// it.
    function focusCurrent() {
        const page = stack.currentItem;
        page?.forceActiveFocus(keyboardInUse ? Qt.TabFocusReason : Qt.OtherFocusReason);
        if (keyboardInUse && focusedItem === page) {
            page.nextItemInFocusChain().forceActiveFocus(Qt.TabFocusReason);
        }
    }

    function goBack() {
        if (stack.depth > stack.rootIndex + 1 && !stack.busy) {
            stack.pop();
        } else {
            focusList();
        }
    }

    /// Gives the list of pages the focus if it is beside the page.
    function focusList() {
        sidebar.item?.forceActiveFocus(Qt.TabFocusReason);
        sidebar.item?.list.focusCurrent();
    }

    /// Gives the focus from the list of pages to the page, or the other way round.
    function focusOther() {
        keyboardInUse = true;
        if (stack.activeFocus) {
            focusList();
        } else {
            focusCurrent();
        }
    }

    Loader {
        id: sidebar

        z: 1
        anchors.left: parent.left
        width: active ? Theme.sidebarWidth : 0
        height: parent.height
        active: panes.wide
        sourceComponent: TitledPage {
            property alias list: list

            title: "Kavrin"
            searchable: true
            visible: !panes.searching
            onSearch: panes.find("")

            PageList {
                id: list

                settings: panes.settings
                beside: true
                current: panes.page
                onOpened: id => panes.openPage(id)
            }
        }
    }
    Rectangle {
        z: 3
        anchors.right: sidebar.right
        visible: panes.wide
        width: 1
        height: parent.height
        color: Theme.hairline
    }

    T.StackView {
        id: stack

        readonly property real away: LayoutMirroring.enabled ? -width : width
        /// From this page there is no way back, because the list of pages leads to the pages before it.
        readonly property int rootIndex: panes.wide ? 1 : 0

        anchors.left: sidebar.right
        anchors.right: parent.right
        height: parent.height
        focus: true
        visible: panes.wide || !panes.searching
        clip: panes.wide
        initialItem: SettingsView {
            settings: panes.settings
            started: panes.started
            alone: !panes.wide
            previewFolded: panes.previewFolded
            onPreviewFoldToggled: panes.previewFolded = !panes.previewFolded
            onDictate: panes.dictate()
            onSearch: panes.find("")
        }
        onCurrentItemChanged: panes.focusCurrent()

        Connections {
            target: stack.currentItem
            ignoreUnknownSignals: true

            function onBack() {
                panes.goBack();
            }
        }

        // This is in an item so that an open list gets Escape first.
        Shortcut {
            sequences: ["Escape", StandardKey.Back]
            enabled: panes.enabled && !panes.searching
            onActivated: panes.goBack()
        }
        Shortcut {
            sequence: "F6"
            enabled: panes.enabled && !panes.searching
            onActivated: panes.focusOther()
        }
        Shortcut {
            sequence: "Ctrl+F"
            enabled: panes.enabled
            onActivated: panes.find("")
        }

        component Slide: NumberAnimation {
            property: "x"
            duration: Theme.transition
            easing.type: Easing.OutCubic
        }

        pushEnter: Transition {
            Slide { from: stack.away; to: 0 }
        }
        pushExit: Transition {
            Slide { from: 0; to: -stack.away / 4 }
        }
        popEnter: Transition {
            Slide { from: -stack.away / 4; to: 0 }
        }
        popExit: Transition {
            Slide { from: 0; to: stack.away }
        }
    }

    // In the place of the list of pages, or of everything.
    Loader {
        id: searchScreen

        z: 2
        anchors.left: parent.left
        width: panes.wide ? Theme.sidebarWidth : parent.width
        height: parent.height
        active: panes.searching
        sourceComponent: SearchView {
            onOpened: (page, key) => panes.openFound(page, key)
            onClosed: panes.endSearch()
        }
    }

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.BackButton
        onClicked: {
            if (panes.searching) {
                panes.endSearch();
            } else {
                panes.goBack();
            }
        }
    }
}
