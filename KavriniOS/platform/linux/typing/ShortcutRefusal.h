// SPDX-License-Identifier: MIT
#pragma once

/// That the user has refused the desktop's shortcut: an empty file of stateFolder().
namespace kavrin::ShortcutRefusal
{

bool isKept();

/// Where it cannot be stored, the desktop will ask again.
void keep();

void forget();

} // namespace kavrin::ShortcutRefusal
