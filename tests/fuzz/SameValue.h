// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PropertyListValue.h"

namespace kavrin::test
{

/// Whether two values are the same as far as a property list can hold them: a number that is none is the same
/// as another such, texts are the same up to U+0000, dates to the second, and dates beyond 32 bits of seconds
/// are all one.
bool isSame(const PropertyListValue &left, const PropertyListValue &right);

} // namespace kavrin::test
