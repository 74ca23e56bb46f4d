// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// What the portal of the desktop recognises an earlier answer of the user by: a file of stateFolder() that
/// only they can read.
namespace kavrin::RestoreToken
{

/// Empty if there is none, or if the file holds something else.
QString load();

/// Replaces it. Where it cannot be stored, the desktop will ask again.
void store(const QString &token);

void forget();

} // namespace kavrin::RestoreToken
