// SPDX-License-Identifier: MIT
#include "platform/linux/typing/Selections.h"

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

QCoro::Task<> select(QString text, Selection selection)
{
    QProcess process;
    startSelecting(process, selection, text);
    const QCoro::Task<bool> end = qCoro(process).waitForFinished(patience);
    co_await end;
    if (process.state() != QProcess::NotRunning || process.error() == QProcess::FailedToStart
        || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        throw typingError(u"The text cannot be pasted: %1 fails."_s.arg(process.program()));
    }
}

} // namespace

std::optional<Error> obstacleToSelecting()
{
    const SelectionCommand command = selectionCommand(Selection::Clipboard);
    if (!QStandardPaths::findExecutable(command.program).isEmpty()) {
        return std::nullopt;
    }
    return typingError(
        u"The program %1 is missing. Install the package %2."_s.arg(command.program, command.package));
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
