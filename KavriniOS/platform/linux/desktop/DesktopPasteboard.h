// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Pasteboard.h"

#include <QPointer>
#include <QProcess>

namespace kavrin
{

/// The desktop's clipboard. Needs the QGuiApplication.
///
/// Under Wayland a window may set the clipboard only in answer to a click or a key. Ordinary text goes
/// through `wl-copy` (of wl-clipboard) there, which may set it at any time. A secret does not, because
/// `wl-copy` offers a text without the type that marks it: "x-kde-passwordManagerHint", which is "secret".
/// Only a window that has the focus may read the clipboard, so that is left to `wl-paste`.
class DesktopPasteboard : public Pasteboard
{
public:
    void setString(const QString &text) override;
    void setSecret(const QString &text) override;
    QCoro::Task<QString> text() override;

private:
    void setThroughWlCopy(const QString &text);
    void endWlCopy();

    QPointer<QProcess> m_wlCopy; ///< as long as it has not set the clipboard
};

} // namespace kavrin
