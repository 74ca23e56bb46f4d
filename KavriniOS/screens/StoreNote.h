// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QString>

namespace kavrin
{

/// The text that a screen shows about a change that could not be stored.
QString storeNote(const Error &failure);

/// The text that a screen shows in place of something that could not be read.
QString unreadableNote(const Error &failure);

} // namespace kavrin
