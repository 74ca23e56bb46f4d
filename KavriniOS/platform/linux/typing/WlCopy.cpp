// SPDX-License-Identifier: MIT
#include "platform/linux/typing/WlCopy.h"

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
QCoro::Task<> select(QString text, QStringList options)
{
    QProcess wlCopy;
    // wl-copy leaves a process that serves the text. That must not keep this end of a pipe open.
    wlCopy.setStandardOutputFile(QProcess::nullDevice());
    wlCopy.setStandardErrorFile(QProcess::nullDevice());
    wlCopy.start(u"wl-copy"_s, options + QStringList{u"--type"_s, u"text/plain;charset=utf-8"_s});
    wlCopy.write(text.toUtf8());
    wlCopy.closeWriteChannel();
    const QCoro::Task<bool> end = qCoro(wlCopy).waitForFinished(patience);
    co_await end;
    if (wlCopy.state() != QProcess::NotRunning || wlCopy.error() == QProcess::FailedToStart
        || wlCopy.exitStatus() != QProcess::NormalExit || wlCopy.exitCode() != 0) {
        throw typingError(u"The text cannot be put on the clipboard: wl-copy fails."_s);
    }
}

} // namespace

std::optional<Error> obstacleToWlCopy()
{
    if (!QStandardPaths::findExecutable(u"wl-copy"_s).isEmpty()) {
        return std::nullopt;
    }
    return typingError(u"The program wl-copy is missing. Install the package wl-clipboard."_s);
}

bool wlCopyTakesFocus()
{
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':').contains(u"GNOME"_s);
}

QCoro::Task<> selectByWlCopy(QString text)
{
    // One after the other: two of its windows that want the focus take it from each other, and fail.
    const QCoro::Task<> primary = select(text, {u"--primary"_s});
    co_await primary;
    const QCoro::Task<> clipboard = select(text, {});
    co_await clipboard;
}

} // namespace kavrin
