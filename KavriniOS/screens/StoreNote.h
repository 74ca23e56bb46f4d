// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QString>

namespace kavrin
{

/// The text that a screen shows about a change that could not be stored.
QString storeNote(const Error &failure);

} // namespace kavrin
