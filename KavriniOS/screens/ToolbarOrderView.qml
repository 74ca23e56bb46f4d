// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Layouts
import Kavrin.Screens
import Kavrin.Theme

/// Orders the keyboard's toolbar, and hides tools from it.
TitledPage {
    id: view

    /// The page that this one was opened from; null if there is none.
    property PageModel page
    readonly property ToolbarOrder tools: ToolbarOrder { }
    /// Shows what the toolbar looks like, and can read() it again; null if there is nothing to show.
    property Component preview: null
    property bool previewFolded: false
    /// Another process has changed settings, and the user holds a row.
    property bool isBehind: false

    /// The user wants to fold the preview, or to see it again.
    signal previewFoldToggled

    title: "Toolbar icons"
    showsAside: preview !== null && (isAsideBeside || height >= 2 * aside.implicitHeight)
    aside: PreviewPlace {
        id: place

        preview: view.preview
        beside: view.isAsideBeside
        folded: view.previewFolded
        onFoldToggled: view.previewFoldToggled()
    }

    function catchUp() {
        if (isBehind && !list.held) {
            isBehind = false;
            tools.reload();
        }
    }

    /// A change is not stored yet when the model tells of it.
    function readPreviewLater() {
        Qt.callLater(() => place.shown?.read());
    }

    Connections {
        target: view.tools

        function onDataChanged() {
            view.readPreviewLater();
        }
    }
    Connections {
        target: view.page

        function onReloaded() {
            view.isBehind = true;
            view.catchUp();
        }
    }

    Column {
        width: parent.width
        spacing: 7

        Card {
            Item {
                id: list

                readonly property int iconWidth: Math.round(28 * Theme.fontScale)
                readonly property int textGap: 14
                readonly property int switchWidth: Math.round(50 * Theme.controlScale) + 16
                readonly property int handleWidth: Math.max(48, Theme.symbolSize + 12)
                /// Whether switch and handle fit beside the titles. Otherwise, they are below.
                readonly property bool fits: Theme.margin + iconWidth + textGap + longestWord.contentWidth + switchWidth
                                             + handleWidth <= width

                /// The row that the user holds by its handle; null if there is none.
                property Item held: null
                onHeldChanged: view.catchUp()
                /// The row that was held last. It stays above the others while it moves to its place.
                property Item lifted: null
                /// Where the pointer is in the page, and where it was when it took hold.
                property real pointer
                property real pointerAtFirst
                /// From the held row's top to the pointer, in the content as it was scrolled at first.
                property real grip
                /// The pointer has moved since it took hold, so this is more than a click.
                property bool dragged: false

                /// Where the held row would be if the list had no ends.
                readonly property real heldTop: pointer + view.flickable.contentY - grip
                /// The shown rows from top to bottom. The held one is where it would be dropped: below those that it
                /// has passed by more than half. (This is one binding, so that no row ever sees half of a change.)
                readonly property var rowsInPlace: {
                    const others = [];
                    for (let i = 0; i < rows.count; ++i) {
                        const row = rows.itemAt(i);
                        if (row && row.shown && row !== held) {
                            others.push(row);
                        }
                    }
                    others.sort((one, other) => one.position - other.position);
                    if (held) {
                        let top = 0;
                        const below = others.findIndex(row => {
                            top += row.height;
                            return heldTop <= top - row.height / 2;
                        });
                        others.splice(below < 0 ? others.length : below, 0, held);
                    }
                    return others;
                }
                /// In pixels a second. It grows as the pointer comes nearer to an edge; negative means upwards.
                readonly property real scrollSpeed: {
                    if (!held || !dragged) {
                        return 0;
                    }
                    const top = view.flickable.y + Theme.rowHeight;
                    const bottom = view.flickable.y + view.flickable.height - Theme.rowHeight;
                    return 10 * (Math.min(0, pointer - top) + Math.max(0, pointer - bottom));
                }

                function topOf(row: Item): real {
                    let top = 0;
                    for (const other of rowsInPlace) {
                        if (other === row) {
                            break;
                        }
                        top += other.height;
                    }
                    return top;
                }

                function take(row: Item, at: real) {
                    moving.stop();
                    grip = at + view.flickable.contentY - row.y;
                    pointer = at;
                    pointerAtFirst = at;
                    dragged = false;
                    lifted = row;
                    held = row;
                }

                function drag(to: real) {
                    pointer = to;
                    dragged = dragged || Math.abs(to - pointerAtFirst) >= Qt.styleHints.startDragDistance;
                }

                function drop() {
                    if (held) {
                        moving.restart();
                        view.tools.moveTo(held.index, rowsInPlace.indexOf(held) + 1);
                        held = null;
                    }
                }

                function letGo() {
                    moving.restart();
                    held = null;
                }

                /// Moves a row for the keyboard or a screen reader, and keeps it in sight.
                function moveTo(row: Item, position: int) {
                    if (!held) {
                        moving.restart();
                        view.tools.moveTo(row.index, position);
                        const top = list.mapToItem(view.contentColumn, 0, topOf(row)).y;
                        view.showRange(top, top + row.height);
                    }
                }

                width: parent.width
                height: rowsInPlace.reduce((sum, row) => sum + row.height, 0)
                Accessible.role: Accessible.List
                Accessible.name: view.title

                LongestWord {
                    id: longestWord
                }
                Timer {
                    id: moving

                    interval: Theme.transition
                }
                FrameAnimation {
                    running: list.scrollSpeed !== 0
                    onTriggered: {
                        const last = Math.max(0, view.flickable.contentHeight - view.flickable.height);
                        const wanted = view.flickable.contentY + list.scrollSpeed * frameTime;
                        view.flickable.contentY = Math.max(0, Math.min(wanted, last));
                    }
                }

                Repeater {
                    id: rows

                    model: view.tools
                    onItemAdded: (index, row) => longestWord.text += " " + row.title

                    CardRow {
                        id: row

                        required property int index
                        required property string title
                        required property string icon
                        required property bool shown
                        required property bool visibleTool
                        required property int position

                        readonly property bool isHeld: list.held === row

                        y: isHeld ? Math.max(0, Math.min(list.heldTop, list.height - height)) : list.topOf(row)
                        z: list.lifted === row ? 1 : 0
                        visible: shown
                        textInset: Theme.margin + list.iconWidth + list.textGap
                        Accessible.role: Accessible.ListItem
                        Accessible.name: title
                        Accessible.ignored: !shown
                        Keys.onPressed: event => {
                            const steps = event.key === Qt.Key_Up ? -1 : event.key === Qt.Key_Down ? 1 : 0;
                            if (steps !== 0 && (handle.activeFocus || event.modifiers & Qt.AltModifier)) {
                                list.moveTo(row, position + steps);
                                event.accepted = true;
                            }
                        }

                        Behavior on y {
                            enabled: moving.running || (list.held !== null && !row.isHeld)
                            NumberAnimation {
                                duration: Theme.transition
                                easing.type: Easing.OutCubic
                            }
                        }

                        Item {
                            width: parent.width
                            height: controls.y + controls.height

                            Rectangle {
                                anchors.fill: parent
                                anchors.margins: -1
                                anchors.bottomMargin: -4
                                opacity: raised.opacity
                                radius: Theme.radius + 1
                                color: Theme.shadow
                            }
                            Rectangle {
                                id: raised

                                anchors.fill: parent
                                opacity: row.isHeld ? 1 : 0
                                radius: Theme.radius
                                color: Theme.raised

                                Behavior on opacity {
                                    NumberAnimation {
                                        duration: Theme.quickTransition
                                    }
                                }
                            }
                            RowLayout {
                                id: heading

                                anchors.left: parent.left
                                anchors.leftMargin: Theme.margin
                                anchors.right: list.fits ? controls.left : parent.right
                                height: Math.max(Theme.rowHeight, label.implicitHeight + 2 * Theme.rowPadding)
                                spacing: 0

                                Item {
                                    implicitWidth: list.iconWidth

                                    Symbol {
                                        anchors.centerIn: parent
                                        name: row.icon
                                        // A symbol beside type of size 17 is a fifth higher than the type.
                                        size: row.icon === "custom.sticker" ? 23 : Math.round(17 * 1.2)
                                        color: Theme.accent
                                    }
                                }
                                RowText {
                                    id: label

                                    Layout.fillWidth: true
                                    Layout.leftMargin: list.textGap
                                    text: row.title
                                }
                            }
                            RowLayout {
                                id: controls

                                anchors.right: parent.right
                                y: list.fits ? 0 : heading.height - Theme.rowPadding
                                height: list.fits ? heading.height : Theme.rowHeight * Theme.controlScale
                                spacing: 0

                                SwitchRow {
                                    Layout.fillHeight: true
                                    implicitWidth: list.switchWidth
                                    width: implicitWidth
                                    leftPadding: 8
                                    rightPadding: 8
                                    checked: row.visibleTool
                                    onToggled: {
                                        view.tools.setVisible(row.index, checked);
                                        // If the change could not be stored, the switch goes back.
                                        checked = Qt.binding(() => row.visibleTool);
                                    }
                                    Accessible.name: row.title
                                    Accessible.ignored: !row.shown
                                }
                                Item {
                                    id: handle

                                    // RowBackground and screen readers read this property.
                                    readonly property bool down: row.isHeld
                                    readonly property alias hovered: grabber.containsMouse
                                    readonly property bool visualFocus: activeFocus && !isGrabbed
                                    readonly property int minimumValue: 1
                                    readonly property int maximumValue: view.tools.shownCount
                                    readonly property int stepSize: 1
                                    readonly property int position: row.position
                                    property real value
                                    /// A pointer has given it the focus.
                                    property bool isGrabbed: false

                                    onActiveFocusChanged: isGrabbed = isGrabbed && activeFocus
                                    Keys.onShortcutOverride: event => event.accepted = row.isHeld && event.key === Qt.Key_Escape
                                    Keys.onEscapePressed: event => {
                                        event.accepted = row.isHeld;
                                        if (row.isHeld) {
                                            list.letGo();
                                        }
                                    }
                                    onPositionChanged: value = position
                                    onValueChanged: {
                                        if (value !== position) {
                                            list.moveTo(row, Math.round(value));
                                        }
                                    }

                                    Layout.fillHeight: true
                                    implicitWidth: list.handleWidth
                                    activeFocusOnTab: true
                                    Accessible.role: Accessible.Slider
                                    Accessible.name: qsTr("Move %1").arg(row.title)
                                    Accessible.description: qsTr("%1 of %2").arg(row.position).arg(maximumValue)
                                    Accessible.focusable: true
                                    Accessible.ignored: !row.shown
                                    Accessible.onIncreaseAction: list.moveTo(row, row.position + 1)
                                    Accessible.onDecreaseAction: list.moveTo(row, row.position - 1)

                                    RowBackground {
                                        anchors.fill: parent
                                        control: handle
                                    }
                                    Symbol {
                                        anchors.centerIn: parent
                                        name: "line.3.horizontal"
                                        color: Theme.secondaryText
                                    }
                                    MouseArea {
                                        id: grabber

                                        function pointerAt(mouse: var): real {
                                            return mapToItem(view, mouse.x, mouse.y).y;
                                        }

                                        anchors.fill: parent
                                        hoverEnabled: true
                                        preventStealing: true
                                        cursorShape: pressed ? Qt.ClosedHandCursor : Qt.OpenHandCursor
                                        onPressed: mouse => {
                                            handle.isGrabbed = true;
                                            handle.forceActiveFocus(Qt.MouseFocusReason);
                                            list.take(row, pointerAt(mouse));
                                        }
                                        onPositionChanged: mouse => {
                                            if (pressed) {
                                                list.drag(pointerAt(mouse));
                                            }
                                        }
                                        onReleased: list.drop()
                                        onCanceled: list.letGo()
                                    }
                                }
                            }
                        }
                    }
                }
            }
        }
        Problem {
            x: Theme.margin
            width: parent.width - 2 * Theme.margin
            text: view.tools.note
        }
    }
}
