// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/DesktopPasteboard.h"

#include "platform/linux/SelectionCommand.h"

#include <QClipboard>
#include <QCoroFuture>
#include <QCoroProcess>
#include <QGuiApplication>
#include <QMimeData>
#include <QPromise>
#include <QTimer>

#include <chrono>
#include <memory>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

using namespace std::chrono_literals;

/// How long the clipboard's owner may take to hand it over.
constexpr std::chrono::milliseconds patience = 5s;

/// How long the desktop may take to accept a text. Some accept none before the user presses a key.
constexpr std::chrono::milliseconds patienceToSet = 2s;

void setOwnClipboard(const QString &text)
{
    QGuiApplication::clipboard()->setText(text);
}

bool isUnderWayland()
{
    return QGuiApplication::platformName().startsWith(u"wayland");
}

QCoro::Task<QString> textFromWlPaste()
{
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    const QCoro::Task<bool> start =
        qCoro(process).start(u"wl-paste"_s, {u"--no-newline"_s, u"--type"_s, u"text"_s});
    if (!co_await start) {
        co_return QGuiApplication::clipboard()->text();
    }
    const QCoro::Task<bool> end = qCoro(process).waitForFinished(patience);
    const bool isWhole = co_await end;
    co_return isWhole ? QString::fromUtf8(process.readAllStandardOutput()) : QString();
}

} // namespace

QCoro::Task<> DesktopPasteboard::setString(QString text)
{
    // Not even a window that has the focus may set the clipboard before it has had a click or a key.
    if (isUnderWayland()) {
        const QFuture<void> isSet = setByCommand(text);
        co_await isSet;
    } else {
        setOwnClipboard(text);
    }
}

void DesktopPasteboard::setSecret(const QString &text)
{
    endCommand();
    auto *data = new QMimeData; // the clipboard owns it from here on
    data->setText(text);
    data->setData(u"x-kde-passwordManagerHint"_s, "secret");
    QGuiApplication::clipboard()->setMimeData(data);
}

QCoro::Task<QString> DesktopPasteboard::text()
{
    if (!isUnderWayland()) {
        co_return QGuiApplication::clipboard()->text();
    }
    const QCoro::Task<QString> text = textFromWlPaste();
    co_return co_await text;
}

/// The result is there when the command has set the clipboard, or takes too long; then it may still set it.
QFuture<void> DesktopPasteboard::setByCommand(const QString &text)
{
    endCommand();
    auto *process = new QProcess(qGuiApp);
    m_command = process;
    const auto promise = std::make_shared<QPromise<void>>();
    promise->start();
    QTimer::singleShot(patienceToSet, process, [promise] { promise->finish(); });
    QObject::connect(process, &QProcess::finished, process, [promise, process] {
        promise->finish();
        process->deleteLater();
    });
    QObject::connect(process, &QProcess::errorOccurred, process,
                     [promise, process, text](QProcess::ProcessError error) {
                         if (error == QProcess::FailedToStart) {
                             setOwnClipboard(text);
                             promise->finish();
                             process->deleteLater();
                         }
                     });
    startSelecting(*process, Selection::Clipboard, text);
    return promise->future();
}

/// Ends the process of the previous text: it must not set that text after the next one.
void DesktopPasteboard::endCommand()
{
    if (m_command) {
        m_command->kill();
        m_command->waitForFinished();
    }
}

} // namespace kavrin
