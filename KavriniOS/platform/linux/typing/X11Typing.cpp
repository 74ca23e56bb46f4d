// SPDX-License-Identifier: MIT
#include "platform/linux/typing/X11Typing.h"

#include "platform/linux/SelectionCommand.h"
#include "platform/linux/typing/Selections.h"

#include <QCoroProcess>
#include <QDeadlineTimer>
#include <QProcess>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds tick = 5ms;
constexpr std::chrono::milliseconds patienceWithOwner = 1s;

xcb_connection_t *connectToServer()
{
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection) != 0) {
        xcb_disconnect(connection);
        throw typingError(u"The X11 server cannot be reached. Log out and in again."_s);
    }
    return connection;
}

/// What another program reads from the selection; empty if it does not answer.
QCoro::Task<QString> textOn(Selection selection)
{
    const SelectionCommand command = selectionCommand(selection); // xclip, under X11
    QProcess xclip;
    xclip.start(command.program, command.arguments + QStringList{u"-out"_s});
    const QCoro::Task<bool> end = qCoro(xclip).waitForFinished(patienceWithOwner);
    co_await end;
    co_return QString::fromUtf8(xclip.readAllStandardOutput());
}

QCoro::Task<bool> doBothHold(QString text)
{
    for (const Selection selection : {Selection::Primary, Selection::Clipboard}) {
        const QCoro::Task<QString> asking = textOn(selection);
        if (co_await asking != text) {
            co_return false;
        }
    }
    co_return true;
}

} // namespace

X11Typing::X11Typing(Patience patience)
    : m_connection(connectToServer()), m_patience(patience), m_keys(m_connection.get())
{
}

QString X11Typing::name() const
{
    return u"X11"_s;
}

QCoro::Task<> X11Typing::paste(QString text, Check check)
{
    const QCoro::Task<> selecting = select(text);
    co_await selecting;
    const QCoro::Task<bool> releasing = awaitRelease();
    if (!co_await releasing) {
        throw typingError(u"A key such as Shift or Ctrl is held, so nothing was typed."_s);
    }
    const QCoro::Task<> checking = check();
    co_await checking;
    if (!m_keys.pressShiftInsert()) {
        throw typingError(u"The keyboard has no Shift or no Insert key to paste with."_s);
    }
}

/// The program ends a moment before the server knows the process that it leaves. Another program, such as a
/// history of the clipboard, may put something else there meanwhile.
QCoro::Task<> X11Typing::select(QString text)
{
    const QCoro::Task<> selecting = selectText(text);
    co_await selecting;
    const QDeadlineTimer limit(m_patience.withSelections);
    while (!limit.hasExpired()) {
        const QCoro::Task<bool> looking = doBothHold(text);
        if (co_await looking) {
            co_return;
        }
        const QCoro::Task<> waiting = pause(tick);
        co_await waiting;
    }
    throw typingError(u"The text cannot be pasted: another program keeps the selections."_s);
}

/// Resumes with whether the user has released the modifiers.
QCoro::Task<bool> X11Typing::awaitRelease()
{
    const QDeadlineTimer limit(m_patience.withUser);
    while (m_keys.isModifierHeld() && !limit.hasExpired()) {
        const QCoro::Task<> waiting = pause(tick);
        co_await waiting;
    }
    co_return !m_keys.isModifierHeld();
}

} // namespace kavrin
