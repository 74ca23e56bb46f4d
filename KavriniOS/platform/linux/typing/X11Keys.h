// SPDX-License-Identifier: MIT
#pragma once

#include <vector>
#include <xcb/xcb.h>

namespace kavrin
{

/// Shift+Insert on the keyboard of an X11 server, pressed by the extension XTEST. Each call asks the server
/// anew, because the user may change the keyboard at any time. Main thread only.
class X11Keys
{
public:
    /// The connection must outlive this object. Throws Error where the server lacks XTEST.
    explicit X11Keys(xcb_connection_t *connection);

    /// Whether the user holds Shift, Ctrl, Alt or another modifier, which would change what a key does. A
    /// lock, such as Caps Lock, is not held.
    [[nodiscard]] bool isModifierHeld() const;

    /// Presses the keys in the window that has the focus, and waits until the server has done so. False where
    /// the keyboard lacks one of them.
    bool pressShiftInsert();

private:
    [[nodiscard]] xcb_keycode_t keycodeOf(xcb_keysym_t symbol) const;
    void send(uint8_t type, xcb_keycode_t key);
    void awaitServer();

    xcb_connection_t *m_connection;
};

} // namespace kavrin
