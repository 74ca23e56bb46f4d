// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>

namespace kavrin
{

/// Whether the desktop says that the user's session is locked: its screen saver on the session bus
/// (org.freedesktop.ScreenSaver and those of desktops with the same method), or logind's LockedHint. False if
/// nobody answers within half a second, and for a lock that tells nobody, such as swaylock. Main thread only.
QCoro::Task<bool> isSessionLocked();

} // namespace kavrin
