// SPDX-License-Identifier: MIT
#include "platform/linux/typing/VirtualKeyboardTyping.h"

#include "platform/linux/typing/Pasting.h"
#include "platform/linux/typing/VirtualKeyboard.h"

#include <QCoroProcess>
#include <QProcess>
#include <QStandardPaths>

#include <chrono>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds patience = 5s;

Error noWlCopy()
{
    return typingError(u"The program wl-copy is missing. Install the package wl-clipboard."_s);
}

/// Gives wl-copy the text, which leaves a process that serves it. Other users can read a program's arguments,
/// so the text is its input.
void start(QProcess &wlCopy, const QStringList &options, const QString &text)
{
    // The process that serves must not keep this end of a pipe open.
    wlCopy.setStandardOutputFile(QProcess::nullDevice());
    wlCopy.setStandardErrorFile(QProcess::nullDevice());
    wlCopy.start(u"wl-copy"_s, options + QStringList{u"--type"_s, u"text/plain;charset=utf-8"_s});
    wlCopy.write(text.toUtf8());
    wlCopy.closeWriteChannel();
}

/// Resumes with whether the text can be pasted now.
QCoro::Task<bool> ends(QProcess &wlCopy)
{
    const QCoro::Task<bool> end = qCoro(wlCopy).waitForFinished(patience);
    co_await end;
    co_return wlCopy.state() == QProcess::NotRunning &&wlCopy.error()
        == QProcess::UnknownError &&wlCopy.exitCode() == 0;
}

QCoro::Task<bool> select(QString text)
{
    QProcess clipboard;
    QProcess primary;
    start(clipboard, {}, text);
    start(primary, {u"--primary"_s}, text);
    const QCoro::Task<bool> clipboardEnds = ends(clipboard);
    const QCoro::Task<bool> primaryEnds = ends(primary);
    const bool isOnClipboard = co_await clipboardEnds;
    const bool isOnPrimary = co_await primaryEnds;
    co_return isOnClipboard &&isOnPrimary;
}

QCoro::Task<> paste(QString text)
{
    // The keyboard comes first: a window that knew none takes it while the text is put on the clipboard.
    VirtualKeyboard keyboard;
    const QCoro::Task<bool> selection = select(text);
    if (!co_await selection) {
        throw typingError(u"The text cannot be put on the clipboard: wl-copy fails."_s);
    }
    keyboard.pressShiftInsert();
}

} // namespace

std::optional<Error> VirtualKeyboardTyping::obstacle()
{
    try {
        const VirtualKeyboard keyboard;
    } catch (const Error &error) {
        return error;
    }
    if (QStandardPaths::findExecutable(u"wl-copy"_s).isEmpty()) {
        return noWlCopy();
    }
    return std::nullopt;
}

QString VirtualKeyboardTyping::name() const
{
    return u"Wayland virtual keyboard"_s;
}

QCoro::Task<std::optional<Error>> VirtualKeyboardTyping::type(QString text)
{
    if (std::optional<Error> refusal = refusalToPaste(text)) {
        co_return refusal;
    }
    if (text.isEmpty()) {
        co_return std::nullopt;
    }
    try {
        const QCoro::Task<> pasting = paste(text);
        co_await pasting;
    } catch (const Error &error) {
        co_return error;
    }
    co_return std::nullopt;
}

} // namespace kavrin
