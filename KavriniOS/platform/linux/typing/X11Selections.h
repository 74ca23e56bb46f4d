// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <optional>
#include <xcb/xcb.h>

namespace kavrin
{

/// One text on the clipboard and on the primary selection of an X11 server, as the conventions for clients
/// (ICCCM, section 2) say. Other programs can read it for as long as this object's events are handled. Main
/// thread only.
class X11Selections
{
public:
    /// Owns nothing yet. The connection must outlive this object.
    explicit X11Selections(xcb_connection_t *connection);

    /// Asks the program that owns the clipboard for its text. hear() gets the answer.
    void askForClipboard();
    void hear(const xcb_selection_notify_event_t &answer);
    [[nodiscard]] bool isAnswered() const { return m_onClipboard.has_value(); }

    /// Puts a text there. The clipboard stays with its owner where that has answered with the same text: it
    /// may outlive this object. False where another program keeps one of the two.
    bool set(const QString &text);

    /// Whether the program that pastes the text has asked for it, as far as that can be known: it may ask the
    /// owner of the clipboard.
    [[nodiscard]] bool isTaken() const { return m_isTaken || !m_ownsClipboard; }

    /// Gives the text to the program that asks for it.
    void answer(const xcb_selection_request_event_t &request);

private:
    bool own(xcb_atom_t selection);
    bool give(xcb_window_t window, xcb_atom_t property, xcb_atom_t target);
    void store(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, uint8_t bits, uint32_t count,
               const void *data);

    xcb_connection_t *m_connection;
    xcb_window_t m_window;
    xcb_atom_t m_clipboard;
    xcb_atom_t m_targets;
    xcb_atom_t m_answer; ///< the property of the window that answers go into
    std::array<xcb_atom_t, 2> m_textTypes;
    QByteArray m_text; ///< UTF-8
    std::optional<QByteArray> m_onClipboard; ///< UTF-8; none until its owner has answered
    bool m_ownsClipboard = false;
    bool m_isTaken = false;
};

} // namespace kavrin
