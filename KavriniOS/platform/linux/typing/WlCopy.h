// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QCoroTask>
#include <QString>

#include <optional>

namespace kavrin
{

/// Why wl-copy cannot be used; it asks no compositor.
std::optional<Error> obstacleToWlCopy();

/// Puts a text on the clipboard and on the primary selection of a Wayland compositor, by `wl-copy` (of
/// wl-clipboard): terminals paste the latter. Resumes when programs can paste it. Throws Error, with words
/// for a person. Main thread only.
QCoro::Task<> selectByWlCopy(QString text);

/// Whether wl-copy opens a window for a moment, and the focus is still to go back when selectByWlCopy()
/// resumes. Compositors without a protocol for clipboard managers (GNOME) let only a window with the focus
/// set a selection.
bool wlCopyTakesFocus();

} // namespace kavrin
