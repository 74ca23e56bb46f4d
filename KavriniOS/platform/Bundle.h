// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PropertyListValue.h"

#include <optional>

/// The files that the running program was installed with. Safe from any thread.
namespace kavrin::Bundle
{

/// The path of the resource `name`.`type`, or none if there is no such file.
std::optional<QString> resourcePath(const QString &name, const QString &type);

/// The value under `key` of the Info dictionary (the resource Info.plist), or none.
std::optional<PropertyListValue> infoValue(const QString &key);

} // namespace kavrin::Bundle
