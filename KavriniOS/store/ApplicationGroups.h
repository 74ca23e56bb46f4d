// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PropertyListValue.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace kavrin
{

/// Identifiers of application groups.
using ApplicationGroups = std::vector<QString>;

/// The groups that `value`, which may be null, lists: the elements of an array that holds nothing but
/// strings, else none.
ApplicationGroups listedGroups(const PropertyListValue *value);

/// The groups that the entitlements in a provisioning profile grant; none where it cannot be read. A profile
/// whose property list ends before it begins is a fatal error.
ApplicationGroups grantedGroups(const QByteArray &profile);

} // namespace kavrin
