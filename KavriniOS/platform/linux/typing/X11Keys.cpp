// SPDX-License-Identifier: MIT
#include "platform/linux/typing/X11Keys.h"

#include "platform/linux/typing/Pasting.h"
#include "platform/linux/typing/X11Reply.h"

#include <xcb/xtest.h>

#include <algorithm>
#include <span>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

// As <X11/keysymdef.h> numbers them.
constexpr xcb_keysym_t insert = 0xff63;
constexpr xcb_keysym_t leftShift = 0xffe1;

} // namespace

X11Keys::X11Keys(xcb_connection_t *connection) : m_connection(connection)
{
    const xcb_query_extension_reply_t *extension = xcb_get_extension_data(connection, &xcb_test_id);
    if (extension == nullptr || extension->present == 0) {
        throw typingError(
            u"The X11 server lets no program type: it lacks the extension XTEST. Switch that on."_s);
    }
}

bool X11Keys::isModifierHeld() const
{
    const auto mapCookie = xcb_get_modifier_mapping(m_connection);
    const auto keysCookie = xcb_query_keymap(m_connection);
    const X11Reply map(xcb_get_modifier_mapping_reply(m_connection, mapCookie, nullptr));
    const X11Reply held(xcb_query_keymap_reply(m_connection, keysCookie, nullptr));
    if (!map || !held) {
        return false;
    }
    const std::span keys(xcb_get_modifier_mapping_keycodes(map.get()),
                         static_cast<size_t>(xcb_get_modifier_mapping_keycodes_length(map.get())));
    return std::any_of(keys.begin(), keys.end(), [&](xcb_keycode_t key) {
        return key != 0 && (held->keys[key / 8] >> (key % 8) & 1) != 0;
    });
}

bool X11Keys::pressShiftInsert()
{
    const xcb_keycode_t shiftKey = keycodeOf(leftShift);
    const xcb_keycode_t insertKey = keycodeOf(insert);
    if (shiftKey == 0 || insertKey == 0) {
        return false;
    }
    send(XCB_KEY_PRESS, shiftKey);
    send(XCB_KEY_PRESS, insertKey);
    send(XCB_KEY_RELEASE, insertKey);
    send(XCB_KEY_RELEASE, shiftKey);
    awaitServer();
    return true;
}

/// The key that gives the symbol without a modifier; 0 where there is none.
xcb_keycode_t X11Keys::keycodeOf(xcb_keysym_t symbol) const
{
    const xcb_setup_t *setup = xcb_get_setup(m_connection);
    const auto count = static_cast<uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    const auto cookie = xcb_get_keyboard_mapping(m_connection, setup->min_keycode, count);
    const X11Reply map(xcb_get_keyboard_mapping_reply(m_connection, cookie, nullptr));
    if (!map) {
        return 0;
    }
    const std::span symbols(xcb_get_keyboard_mapping_keysyms(map.get()),
                            static_cast<size_t>(xcb_get_keyboard_mapping_keysyms_length(map.get())));
    for (size_t index = 0; index < symbols.size(); index += map->keysyms_per_keycode) {
        if (symbols[index] == symbol) {
            return static_cast<xcb_keycode_t>(setup->min_keycode + index / map->keysyms_per_keycode);
        }
    }
    return 0;
}

void X11Keys::send(uint8_t type, xcb_keycode_t key)
{
    xcb_test_fake_input(m_connection, type, key, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
}

/// The server forgets what a client has asked for that is gone.
void X11Keys::awaitServer()
{
    const X11Reply answer(
        xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
}

} // namespace kavrin
