// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T

/// A row with a title and the chosen option of several. It opens the list of options.
T.ComboBox {
    id: row

    property string title
    property string footer
    /// The index of the chosen option; -1 if none is chosen.
    property int chosen: -1

    /// The user has picked an option.
    signal picked(int index)

    width: parent.width
    implicitHeight: Math.max(Theme.rowHeight, implicitContentHeight + topPadding + bottomPadding)
    leftPadding: Theme.margin
    rightPadding: Theme.margin
    topPadding: Theme.rowPadding
    bottomPadding: Theme.rowPadding
    hoverEnabled: true
    currentIndex: chosen
    onActivated: index => {
        if (index >= 0) { // Return picks nothing if no option is highlighted
            picked(index);
        }
        // Goes back to the old option if the new one could not be stored.
        currentIndex = Qt.binding(() => chosen);
    }
    Keys.onPressed: event => {
        if (!popup.visible) {
            event.accepted = isForClosedList(event);
        }
    }
    Accessible.role: Accessible.ComboBox
    Accessible.name: title
    // Screen readers find no value in a combo box of Qt Quick, so the value comes first in its description.
    Accessible.description: footer ? displayText + ". " + footer : displayText
    Accessible.onPressAction: open()

    function open() {
        forceActiveFocus(Qt.OtherFocusReason); // the keyboard controls the open list from here
        popup.open();
    }

    /// Opens the list if a key is for that. No key chooses an option that the user does not see: those that would are
    /// kept from the template.
    function isForClosedList(event: var): bool {
        const opening = [Qt.Key_Return, Qt.Key_Enter, Qt.Key_F4, Qt.Key_Up, Qt.Key_Down];
        if (opening.includes(event.key)) {
            popup.open();
        }
        const isCommand = event.modifiers & (Qt.ControlModifier | Qt.AltModifier | Qt.MetaModifier);
        return opening.includes(event.key) || event.key === Qt.Key_Home || event.key === Qt.Key_End
               || (!isCommand && event.text > " ");
    }

    containmentMask: ground.area

    background: RowBackground {
        id: ground

        control: row
    }
    contentItem: RowLayout {
        spacing: 14

        TitleAndValue {
            Layout.fillWidth: true
            title: row.title

            RowText {
                width: parent.width
                text: row.displayText
                color: Theme.secondaryText
            }
        }
        Symbol {
            name: "chevron.up.chevron.down"
            size: 14
            color: Theme.secondaryText
        }
    }
    delegate: T.ItemDelegate {
        id: option

        required property int index
        required property var modelData

        width: ListView.view.width
        implicitHeight: Math.max(44, implicitContentHeight + topPadding + bottomPadding)
        padding: 10
        leftPadding: 12
        rightPadding: 12
        text: modelData[row.textRole]
        highlighted: row.highlightedIndex === index
        hoverEnabled: true
        Accessible.role: Accessible.ListItem
        Accessible.name: text
        Accessible.selected: row.currentIndex === index
        Accessible.onPressAction: {
            row.activated(index);
            row.popup.close();
        }

        background: Rectangle {
            radius: Theme.radius - 4
            color: option.down ? Theme.pressed : option.highlighted ? Theme.highlight : "transparent"

            FocusRing {
                visible: option.highlighted && row.visualFocus
                radius: parent.radius
            }
        }
        contentItem: RowLayout {
            spacing: 8

            RowText {
                Layout.fillWidth: true
                text: option.text
            }
            Symbol {
                opacity: row.currentIndex === option.index ? 1 : 0
                name: "checkmark"
                size: 16
                color: Theme.accent
            }
        }
    }
    popup: T.Popup {
        readonly property real spaceAround: 12

        // As wide as most options need, at the row's end, and within the window.
        width: Math.min(row.width, Math.max(260 * Theme.fontScale, row.width * 0.6))
        height: Math.min(implicitContentHeight + 2 * padding, row.Window.height - 2 * spaceAround)
        x: row.mirrored ? 0 : row.width - width
        y: row.height - 6
        margins: spaceAround
        padding: 6
        modal: true
        dim: false
        enter: Transition {
            NumberAnimation {
                property: "opacity"
                from: 0
                to: 1
                duration: Theme.quickTransition
            }
        }
        exit: Transition {
            NumberAnimation {
                property: "opacity"
                to: 0
                duration: Theme.quickTransition
            }
        }
        background: PopupFrame { }
        contentItem: ListView {
            clip: true
            implicitHeight: contentHeight
            model: row.delegateModel
            currentIndex: row.highlightedIndex
            highlightMoveDuration: 0
            // Keeps all options in memory, so that screen readers find them, too.
            cacheBuffer: 10000
            boundsBehavior: Flickable.StopAtBounds
            Accessible.role: Accessible.List
            Accessible.name: row.title
            T.ScrollBar.vertical: ScrollBar { }
        }
    }
}
