// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T

/// A page: a bar with the content below it. The content begins with a large title, which shrinks into the bar as it
/// scrolls away. The content keeps a readable width. What always stays in view is beside it or below it.
FocusScope {
    id: page

    property string title
    /// Names the page; empty if nobody asks for it by name.
    property string pageId
    property bool canGoBack: T.StackView.index > (T.StackView.view?.rootIndex ?? 0)
    /// Stays in view beside the content if the page is wide enough for both, otherwise below it. May be null.
    property Item aside: null
    /// Whether the page has a button that begins a search.
    property bool searchable: false
    property bool showsAside: aside !== null
    readonly property bool isAsideBeside: width >= Theme.asideFromWidth
    default property alias content: column.data
    readonly property alias contentColumn: column
    readonly property alias flickable: flickable

    /// The user wants to go back to the page before this one.
    signal back
    /// The user wants to search.
    signal search

    readonly property real titleShrunk: Math.max(0, Math.min(1, (flickable.contentY - largeTitle.height * 0.4)
                                                                / (largeTitle.height * 0.5)))
    readonly property Item focusedItem: Window.activeFocusItem

    onFocusedItemChanged: {
        if (focusedItem && isInside(focusedItem, column)) {
            show(focusedItem);
        }
    }

    // Controls take the keys that they know; the page gets the others.
    Keys.onPressed: event => {
        const height = scrollOf(event);
        if (height !== 0 && !(event.modifiers & (Qt.ControlModifier | Qt.AltModifier | Qt.MetaModifier))) {
            scrollTo(flickable.contentY + height);
            event.accepted = true;
        }
    }

    // From the page itself, Qt would go to the first control of the window, which may be beside the page.
    Keys.onTabPressed: event => leave(event, true)
    Keys.onBacktabPressed: event => leave(event, false)

    function leave(event: var, forward: bool) {
        event.accepted = focusedItem === page;
        if (event.accepted) {
            nextItemInFocusChain(forward).forceActiveFocus(forward ? Qt.TabFocusReason : Qt.BacktabFocusReason);
        }
    }

    /// How far a key scrolls. Space scrolls only if no control has the focus.
    function scrollOf(event: var): real {
        const visible = flickable.height - Theme.rowHeight; // the last row stays in view
        switch (event.key) {
        case Qt.Key_PageUp: return -visible;
        case Qt.Key_PageDown: return visible;
        case Qt.Key_Home: return -flickable.contentHeight;
        case Qt.Key_End: return flickable.contentHeight;
        case Qt.Key_Space: return focusedItem !== page ? 0 : event.modifiers & Qt.ShiftModifier ? -visible : visible;
        }
        return 0;
    }

    // The item that reveal() shows. On a new page it moves until all that is above it has its height.
    property Item awaited: null

    /// Gives the control in an item the focus, and scrolls until the item is in the middle.
    function reveal(item: Item) {
        const control = item.nextItemInFocusChain();
        if (isInside(control, item)) {
            control.forceActiveFocus(Qt.TabFocusReason);
        }
        awaited = item;
        showAwaited();
    }

    function showAwaited() {
        if (awaited) {
            const middle = awaited.mapToItem(column, 0, awaited.height / 2).y;
            scrollTo(middle - flickable.height / 2);
        }
    }

    Connections {
        target: page.awaited ? page.Window.window : null

        function onFrameSwapped() {
            page.awaited = null;
        }
    }

    /// Scrolls until the content begins at this height, or to the end. Whole pixels stay as they are, while the flickable
    /// rounds others some time later.
    function scrollTo(y: real) {
        const last = Math.max(0, Math.floor(flickable.contentHeight - flickable.height));
        flickable.contentY = Math.max(0, Math.min(Math.round(y), last));
    }

    function isInside(item: Item, outer: Item): bool {
        for (let ancestor = item.parent; ancestor; ancestor = ancestor.parent) {
            if (ancestor === outer) {
                return true;
            }
        }
        return false;
    }

    /// Scrolls only as far as needed to show an item.
    function show(item: Item) {
        const top = item.mapToItem(column, 0, 0).y;
        showRange(top, top + item.height);
    }

    /// Scrolls only as far as needed to show the content between two heights.
    function showRange(top: real, bottom: real) {
        if (top < flickable.contentY + Theme.margin) {
            scrollTo(top - Theme.margin);
        } else if (bottom > flickable.contentY + flickable.height - Theme.margin) {
            scrollTo(bottom - flickable.height + Theme.margin);
        }
    }

    Accessible.role: Accessible.Pane
    Accessible.name: title

    Rectangle {
        anchors.fill: parent
        color: Theme.background
    }

    Flickable {
        id: flickable

        anchors.fill: parent
        anchors.topMargin: Theme.barHeight
        anchors.rightMargin: page.showsAside && page.isAsideBeside ? asidePlace.width : 0
        anchors.bottomMargin: page.showsAside && !page.isAsideBeside ? asidePlace.height : 0
        contentWidth: width
        contentHeight: column.height
        onContentHeightChanged: page.showAwaited()
        boundsBehavior: Flickable.DragOverBounds
        clip: true
        T.ScrollBar.vertical: ScrollBar { }

        Column {
            id: column

            x: (parent.width - width) / 2
            width: Math.min(parent.width - 2 * Theme.margin, Theme.contentWidth)
            bottomPadding: 2 * Theme.margin
            spacing: 26

            Text {
                id: largeTitle

                width: parent.width
                leftPadding: 2
                opacity: 1 - page.titleShrunk
                text: page.title
                textFormat: Text.PlainText
                color: Theme.text
                font.pixelSize: Theme.largeTitleSize
                font.weight: Font.Bold
                wrapMode: Text.Wrap
                horizontalAlignment: Text.AlignLeft
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
        }
    }

    Item {
        id: asidePlace

        anchors.right: parent.right
        anchors.bottom: parent.bottom
        visible: page.showsAside
        width: page.isAsideBeside ? Theme.asideWidth : parent.width
        height: page.isAsideBeside ? parent.height - Theme.barHeight : page.aside?.implicitHeight ?? 0
        children: page.aside ? [page.aside] : []
    }

    Item {
        width: parent.width
        height: Theme.barHeight

        PressButton {
            id: backButton

            visible: page.canGoBack
            x: page.LayoutMirroring.enabled ? parent.width - width - 6 : 6
            anchors.verticalCenter: parent.verticalCenter
            width: 44
            height: 44
            text: qsTr("Back")
            onClicked: page.back()
            background: RowBackground {
                control: backButton
            }
            contentItem: Item {
                Symbol {
                    anchors.centerIn: parent
                    name: "chevron.left"
                    size: 20
                    color: Theme.accent
                    mirror: page.LayoutMirroring.enabled
                }
            }
        }
        PressButton {
            id: searchButton

            visible: page.searchable
            x: page.LayoutMirroring.enabled ? 6 : parent.width - width - 6
            anchors.verticalCenter: parent.verticalCenter
            width: 44
            height: 44
            focusPolicy: Qt.TabFocus // after a click, typing still begins a search
            text: qsTr("Search")
            onClicked: page.search()
            background: RowBackground {
                control: searchButton
            }
            contentItem: Item {
                Symbol {
                    anchors.centerIn: parent
                    name: "magnifyingglass"
                    color: Theme.accent
                }
            }
        }
        Text {
            anchors.centerIn: parent
            width: parent.width - 2 * 56
            opacity: page.titleShrunk
            text: page.title
            textFormat: Text.PlainText
            color: Theme.text
            font.pixelSize: Theme.titleSize
            font.weight: Font.DemiBold
            horizontalAlignment: Text.AlignHCenter
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: 10
            elide: Text.ElideRight
            Accessible.ignored: true
        }
        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            opacity: page.titleShrunk
            color: Theme.hairline
        }
    }
}
