// SPDX-License-Identifier: MIT
#include "platform/linux/typing/WaylandSelections.h"

#include "platform/linux/SelectionCommand.h"
#include "platform/linux/typing/Pasting.h"

#include <QCoroProcess>
#include <QProcess>
#include <QStandardPaths>

#include <chrono>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

constexpr std::chrono::seconds patience{5};

/// Other users can read a program's arguments, so the text is its input.
QCoro::Task<> select(QString text, Selection selection)
{
    const SelectionCommand command = selectionCommand(selection);
    QProcess process;
    // The process that is left to serve the text must not keep this end of a pipe open.
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(command.program, command.arguments);
    process.write(text.toUtf8());
    process.closeWriteChannel();
    const QCoro::Task<bool> end = qCoro(process).waitForFinished(patience);
    co_await end;
    if (process.state() != QProcess::NotRunning || process.error() == QProcess::FailedToStart
        || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        throw typingError(u"The text cannot be put on the clipboard: %1 fails."_s.arg(command.program));
    }
}

} // namespace

std::optional<Error> obstacleToSelecting()
{
    if (!QStandardPaths::findExecutable(u"wl-copy"_s).isEmpty()) {
        return std::nullopt;
    }
    return typingError(u"The program wl-copy is missing. Install the package wl-clipboard."_s);
}

QCoro::Task<> selectText(QString text)
{
    // One after the other: two windows of wl-copy that want the focus take it from each other, and fail.
    const QCoro::Task<> primary = select(text, Selection::Primary);
    co_await primary;
    const QCoro::Task<> clipboard = select(text, Selection::Clipboard);
    co_await clipboard;
}

} // namespace kavrin
