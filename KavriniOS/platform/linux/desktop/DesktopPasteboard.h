// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Pasteboard.h"

#include <QFuture>
#include <QPointer>
#include <QProcess>

namespace kavrin
{

/// The desktop's clipboard. Needs the QGuiApplication.
///
/// Under Wayland a window may set the clipboard only in answer to a click or a key. So ordinary text goes
/// through the program of selectionCommand() there, which may set it at any time. A secret does not, because
/// that program offers a text without the type that marks a secret: "x-kde-passwordManagerHint", with the
/// value "secret". Only a window that has the focus may read the clipboard, so `wl-paste` reads it.
class DesktopPasteboard : public Pasteboard
{
public:
    QCoro::Task<> setString(QString text) override;
    void setSecret(const QString &text) override;
    QCoro::Task<QString> text() override;

private:
    QFuture<void> setByCommand(const QString &text);
    void endCommand();

    QPointer<QProcess> m_command; ///< until it has set the clipboard
};

} // namespace kavrin
