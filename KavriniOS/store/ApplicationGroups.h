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

/// The groups that `value` lists: the elements of an array that holds only strings; otherwise none. `value`
/// may be null.
ApplicationGroups listedGroups(const PropertyListValue *value);

/// The groups that the entitlements in a provisioning profile grant. None if it cannot be read. A profile
/// with a property list that ends before it begins is a fatal error.
ApplicationGroups grantedGroups(const QByteArray &profile);

} // namespace kavrin
