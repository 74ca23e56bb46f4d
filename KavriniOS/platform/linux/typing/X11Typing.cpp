// SPDX-License-Identifier: MIT
#include "platform/linux/typing/X11Typing.h"

#include "platform/linux/typing/X11Reply.h"

#include <QDeadlineTimer>
#include <QPointer>

#include <chrono>
#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds tick = 5ms;
constexpr std::chrono::milliseconds patienceWithClipboard = 200ms;

xcb_connection_t *connectToServer()
{
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection) != 0) {
        xcb_disconnect(connection);
        throw typingError(u"The X11 server cannot be reached. Log out and in again."_s);
    }
    return connection;
}

} // namespace

X11Typing::X11Typing(Patience patience)
    : m_connection(connectToServer()), m_patience(patience), m_keys(m_connection.get()),
      m_selections(m_connection.get()),
      m_events(xcb_get_file_descriptor(m_connection.get()), QSocketNotifier::Read)
{
    connect(&m_events, &QSocketNotifier::activated, this, &X11Typing::handleEvents);
}

QString X11Typing::name() const
{
    return u"X11"_s;
}

QCoro::Task<> X11Typing::paste(QString text, Check check)
{
    const QPointer<X11Typing> self = this;
    m_selections.askForClipboard();
    const QCoro::Task<bool> answer =
        holds([this] { return m_selections.isAnswered(); }, patienceWithClipboard);
    co_await answer;
    if (!self) {
        co_return;
    }
    const bool isSet = m_selections.set(text);
    if (!isSet) {
        throw typingError(u"The text cannot be put on the clipboard: another program keeps it, or the X11 "
                          "server is gone."_s);
    }
    const QCoro::Task<bool> release = holds([this] { return !m_keys.isModifierHeld(); }, m_patience.withUser);
    const bool isReleased = co_await release;
    if (!self) {
        co_return;
    }
    if (!isReleased) {
        throw typingError(u"A key such as Shift or Ctrl is held, so nothing was typed."_s);
    }
    const QCoro::Task<> checking = check();
    co_await checking;
    if (!self) {
        co_return;
    }
    if (!m_keys.pressShiftInsert()) {
        throw typingError(u"The keyboard has no Shift or no Insert key to paste with."_s);
    }
    const QCoro::Task<bool> taking = holds([this] { return m_selections.isTaken(); }, m_patience.withProgram);
    const bool isTaken = co_await taking;
    if (!isTaken) {
        throw typingError(u"No program took the text."_s);
    }
}

/// Resumes with true once `condition` holds, with false where it does not within `limit`, or where this
/// object is destroyed.
QCoro::Task<bool> X11Typing::holds(std::function<bool()> condition, std::chrono::milliseconds limit)
{
    const QPointer<X11Typing> self = this;
    const QDeadlineTimer deadline(limit);
    while (self) {
        const bool isHolding = condition();
        handleEvents(); // a reply that was awaited may have brought some along
        if (isHolding || deadline.hasExpired()) {
            co_return isHolding;
        }
        const QCoro::Task<> waiting = pause(tick);
        co_await waiting;
    }
    co_return false;
}

void X11Typing::handleEvents()
{
    while (const X11Reply event = X11Reply(xcb_poll_for_event(m_connection.get()))) {
        const int type = event->response_type & 0x7f;
        if (type == XCB_SELECTION_REQUEST) {
            m_selections.answer(reinterpret_cast<const xcb_selection_request_event_t &>(*event));
        } else if (type == XCB_SELECTION_NOTIFY) {
            m_selections.hear(reinterpret_cast<const xcb_selection_notify_event_t &>(*event));
        }
    }
    if (xcb_connection_has_error(m_connection.get()) != 0) {
        m_events.setEnabled(false); // it would report the end of the connection for ever
    }
}

} // namespace kavrin
