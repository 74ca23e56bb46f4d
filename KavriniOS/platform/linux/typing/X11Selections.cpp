// SPDX-License-Identifier: MIT
#include "platform/linux/typing/X11Selections.h"

#include "platform/linux/typing/X11Reply.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace kavrin
{

namespace
{

xcb_atom_t atom(xcb_connection_t *connection, std::string_view name)
{
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<uint16_t>(name.size()), name.data());
    const X11Reply reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

/// A window that is never shown.
xcb_window_t makeWindow(xcb_connection_t *connection)
{
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const xcb_window_t window = xcb_generate_id(connection);
    xcb_create_window(connection, 0, window, screen->root, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      screen->root_visual, 0, nullptr);
    return window;
}

} // namespace

X11Selections::X11Selections(xcb_connection_t *connection)
    : m_connection(connection), m_window(makeWindow(connection)), m_clipboard(atom(connection, "CLIPBOARD")),
      m_targets(atom(connection, "TARGETS")), m_answer(atom(connection, "KAVRIN_CLIPBOARD")),
      m_textTypes{atom(connection, "UTF8_STRING"), atom(connection, "text/plain;charset=utf-8")}
{
}

void X11Selections::askForClipboard()
{
    m_onClipboard.reset();
    xcb_convert_selection(m_connection, m_window, m_clipboard, m_textTypes[0], m_answer, XCB_CURRENT_TIME);
    xcb_flush(m_connection);
}

void X11Selections::hear(const xcb_selection_notify_event_t &answer)
{
    constexpr uint32_t limit = 1 << 20; // in units of four bytes; a longer text is no dictation
    m_onClipboard.emplace();
    if (answer.property == XCB_ATOM_NONE) {
        return;
    }
    const auto cookie = xcb_get_property(m_connection, 1, m_window, m_answer, m_textTypes[0], 0, limit);
    if (const X11Reply text = X11Reply(xcb_get_property_reply(m_connection, cookie, nullptr))) {
        *m_onClipboard = QByteArray(static_cast<const char *>(xcb_get_property_value(text.get())),
                                    xcb_get_property_value_length(text.get()));
    }
}

bool X11Selections::set(const QString &text)
{
    m_text = text.toUtf8();
    m_isTaken = false;
    const bool isThere = m_onClipboard == m_text;
    m_ownsClipboard = !isThere && own(m_clipboard);
    return own(XCB_ATOM_PRIMARY) && (isThere || m_ownsClipboard);
}

bool X11Selections::own(xcb_atom_t selection)
{
    xcb_set_selection_owner(m_connection, m_window, selection, XCB_CURRENT_TIME);
    const auto cookie = xcb_get_selection_owner(m_connection, selection);
    const X11Reply reply(xcb_get_selection_owner_reply(m_connection, cookie, nullptr));
    return reply && reply->owner == m_window;
}

void X11Selections::answer(const xcb_selection_request_event_t &request)
{
    // Old programs name no property.
    const xcb_atom_t property = request.property != XCB_ATOM_NONE ? request.property : request.target;
    const bool isGiven = give(request.requestor, property, request.target);
    xcb_selection_notify_event_t notice{};
    notice.response_type = XCB_SELECTION_NOTIFY;
    notice.time = request.time;
    notice.requestor = request.requestor;
    notice.selection = request.selection;
    notice.target = request.target;
    notice.property = isGiven ? property : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    std::array<char, 32> event{}; // every event has this size
    std::copy_n(reinterpret_cast<const char *>(&notice), sizeof notice, event.begin());
    xcb_send_event(m_connection, 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, event.data());
    xcb_flush(m_connection);
}

/// False where it is not given as `target`.
bool X11Selections::give(xcb_window_t window, xcb_atom_t property, xcb_atom_t target)
{
    if (target == m_targets) {
        const std::array targets = {m_targets, m_textTypes[0], m_textTypes[1]};
        store(window, property, XCB_ATOM_ATOM, 32, targets.size(), targets.data());
        return true;
    }
    if (std::find(m_textTypes.begin(), m_textTypes.end(), target) == m_textTypes.end()) {
        return false;
    }
    store(window, property, target, 8, static_cast<uint32_t>(m_text.size()), m_text.constData());
    m_isTaken = true;
    return true;
}

void X11Selections::store(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, uint8_t bits,
                          uint32_t count, const void *data)
{
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, property, type, bits, count, data);
}

} // namespace kavrin
