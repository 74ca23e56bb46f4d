// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/DesktopPasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace kavrin
{

namespace
{

bool mustAskCompositor()
{
    return QGuiApplication::platformName().startsWith(u"wayland")
        && QGuiApplication::focusWindow() == nullptr;
}

void setOwnClipboard(const QString &text)
{
    QGuiApplication::clipboard()->setText(text);
}

} // namespace

void DesktopPasteboard::setString(const QString &text)
{
    if (mustAskCompositor()) {
        setThroughWlCopy(text);
    } else {
        setOwnClipboard(text);
    }
}

void DesktopPasteboard::setThroughWlCopy(const QString &text)
{
    if (m_wlCopy) {
        // The text that came before must not be set after this one.
        m_wlCopy->kill();
        m_wlCopy->waitForFinished();
    }
    auto *process = new QProcess(qGuiApp);
    m_wlCopy = process;
    QObject::connect(process, &QProcess::finished, process, &QObject::deleteLater);
    QObject::connect(process, &QProcess::errorOccurred, process,
                     [process, text](QProcess::ProcessError error) {
                         if (error == QProcess::FailedToStart) {
                             setOwnClipboard(text);
                             process->deleteLater();
                         }
                     });
    // wl-copy leaves a child that serves the clipboard; it must not keep this end of a pipe open.
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());
    process->start(QStringLiteral("wl-copy"),
                   {QStringLiteral("--type"), QStringLiteral("text/plain;charset=utf-8")});
    process->write(text.toUtf8());
    process->closeWriteChannel();
}

} // namespace kavrin
