// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kavrin
{

/// Where programs of Kavrin keep what one start of theirs tells the next: a folder of the user's state folder
/// ($XDG_STATE_HOME, XDG base directories, version 0.8). It need not exist.
QString stateFolder();

} // namespace kavrin
