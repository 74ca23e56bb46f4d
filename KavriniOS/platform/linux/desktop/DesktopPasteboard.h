// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Pasteboard.h"

#include <QPointer>
#include <QProcess>

namespace kavrin
{

/// The desktop's clipboard. Needs the QGuiApplication. Under Wayland, where a window without the focus may
/// not set the clipboard, through `wl-copy` (of wl-clipboard) while no window of this application has it.
class DesktopPasteboard : public Pasteboard
{
public:
    void setString(const QString &text) override;

private:
    void setThroughWlCopy(const QString &text);

    QPointer<QProcess> m_wlCopy; ///< as long as it has not set the clipboard
};

} // namespace kavrin
