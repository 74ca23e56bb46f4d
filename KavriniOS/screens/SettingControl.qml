// SPDX-License-Identifier: MIT
import QtQuick
import Kavrin.Screens
import Kavrin.Theme

/// One item of the catalogue as the control that fits its kind, with its footer below. A dot marks a value that differs
/// from its default, and a button below brings the default back.
CardRow {
    id: control

    required property SettingModel setting
    required property SettingActions actions

    /// An action may have changed other rows.
    signal changed
    /// The user wants to try dictation.
    signal dictate
    /// The user wants to order the toolbar.
    signal openToolbar

    /// Stays as it is while the user changes the value, so that nothing moves below the pointer.
    property bool differs: false

    Binding {
        target: control
        property: "differs"
        value: !control.setting.isDefault
        when: !control.setting.held
        restoreMode: Binding.RestoreNone
    }

    // Moves the footer nearer to its control.
    spacing: -6

    Loader {
        id: row

        readonly property real titleMiddle: {
            switch (control.setting.kind) {
            case SettingModel.Slider: return Theme.rowPadding + 0.6 * Theme.bodySize;
            case SettingModel.Text: return Theme.rowPadding + 0.6 * Theme.footnoteSize;
            default: return height / 2;
            }
        }

        width: parent.width
        sourceComponent: {
            switch (control.setting.kind) {
            case SettingModel.Toggle: return toggle;
            case SettingModel.Slider: return slider;
            case SettingModel.Choice: return choice;
            case SettingModel.Text: return field;
            case SettingModel.Action: return action;
            }
        }

        Rectangle {
            objectName: "dot"
            z: 1
            visible: control.differs
            x: row.LayoutMirroring.enabled ? row.width - Theme.margin + height / 2 : Theme.margin - 1.5 * width
            y: row.titleMiddle - height / 2
            width: 6
            height: width
            radius: width / 2
            color: Theme.accent
        }
    }
    Footnote {
        x: Theme.margin
        width: parent.width - 2 * Theme.margin
        bottomPadding: Theme.rowPadding
        visible: text !== ""
        text: control.setting.footer
        // Screen readers already get this text as the control's description.
        Accessible.ignored: true

        TapHandler {
            enabled: control.setting.kind === SettingModel.Text
            onTapped: row.item.edit()
        }
    }
    Footnote {
        x: Theme.margin
        width: parent.width - 2 * Theme.margin
        bottomPadding: Theme.rowPadding
        visible: text !== ""
        text: control.setting.note
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
    Problem {
        x: Theme.margin
        width: parent.width - 2 * Theme.margin
        bottomPadding: Theme.rowPadding
        text: control.setting.problem
    }
    PressButton {
        id: wayBack

        visible: control.differs
        x: LayoutMirroring.enabled ? parent.width - width - Theme.margin + leftPadding : Theme.margin - leftPadding
        width: Math.min(implicitContentWidth + leftPadding + rightPadding, parent.width - 2 * (Theme.margin - leftPadding))
        height: implicitContentHeight + topPadding + bottomPadding
        leftPadding: 8
        rightPadding: 8
        topPadding: 8
        bottomPadding: 12
        text: qsTr("Back to %1").arg(control.setting.defaultText)
        Accessible.description: control.setting.title
        onClicked: {
            const keyboardInUse = visualFocus;
            control.setting.restoreDefault(); // hides this button
            if (keyboardInUse) {
                row.nextItemInFocusChain().forceActiveFocus(Qt.TabFocusReason);
            }
        }
        background: RowBackground {
            control: wayBack
        }
        contentItem: Footnote {
            text: wayBack.text
            color: Theme.accent
            Accessible.ignored: true
        }
    }

    Component {
        id: toggle

        SwitchRow {
            text: control.setting.title
            checked: control.setting.on
            onToggled: control.setting.on = checked
            Accessible.description: control.setting.footer
        }
    }
    Component {
        id: slider

        SliderRow {
            title: control.setting.title
            valueText: control.setting.numberText
            footer: control.setting.footer
            from: control.setting.lower
            to: control.setting.upper
            stepSize: control.setting.step
            value: control.setting.number
            defaultValue: control.setting.defaultNumber
            onMoved: value => control.setting.number = value
            onDraggedChanged: control.setting.held = dragged
            onTakenBack: control.setting.takeBack()
        }
    }
    Component {
        id: choice

        PickerRow {
            title: control.setting.title
            footer: control.setting.footer
            textRole: "t"
            valueRole: "v"
            model: control.setting.options
            chosen: control.setting.optionIndex
            onPicked: index => control.setting.optionIndex = index
        }
    }
    Component {
        id: field

        FieldRow {
            title: control.setting.title
            secret: control.setting.secret
            placeholder: secret ? qsTr("Paste your key") : ""
            footer: control.setting.footer
            text: control.setting.text
            onEdited: text => control.setting.text = text
            onEditingChanged: control.setting.held = editing
        }
    }
    Component {
        id: action

        SettingAction {
            setting: control.setting
            actions: control.actions
            onChanged: control.changed()
            onDictate: control.dictate()
            onOpenToolbar: control.openToolbar()
        }
    }
}
