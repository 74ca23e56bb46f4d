// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QString>

namespace kavrin
{

/// What a screen says of a change that could not be stored.
QString storeNote(const Error &failure);

} // namespace kavrin
