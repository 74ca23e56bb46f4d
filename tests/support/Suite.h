// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UserDefaults.h"

namespace kavrin::test
{

/// What a call said of its failure; the empty string where there was none.
QString failureOf(const std::optional<Error> &failure);

/// Stores a value. The test fails where that does.
void put(UserDefaults &suite, const QString &key, const PropertyListValue &value);

/// Removes a key. The test fails where that does.
void drop(UserDefaults &suite, const QString &key);

} // namespace kavrin::test
