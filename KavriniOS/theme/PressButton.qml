// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T

/// What every button does, however it looks: Return and Enter press it as Space does, and so do screen readers.
T.AbstractButton {
    id: button

    hoverEnabled: true
    Keys.onReturnPressed: event => pressOnce(event)
    Keys.onEnterPressed: event => pressOnce(event)
    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.onPressAction: press()

    function press() {
        if (checkable) {
            toggle();
        }
        clicked();
    }

    /// A key that is held presses but once: what it opens may have a button of its own under the focus.
    function pressOnce(event: var) {
        if (!event.isAutoRepeat) {
            press();
        }
    }
}
