// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T

/// The behaviour of every button, whatever it looks like: Return and Enter press it as Space does, and so do screen
/// readers.
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

    /// A held key presses only once: the button may open something with another button under the focus.
    function pressOnce(event: var) {
        if (!event.isAutoRepeat) {
            press();
        }
    }
}
