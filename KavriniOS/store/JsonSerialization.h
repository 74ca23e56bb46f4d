// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PropertyListValue.h"

#include <QJsonObject>
#include <QJsonValue>

#include <optional>

namespace kavrin
{

/// `value` as JSON: booleans, numbers, strings, arrays and objects. None if it is or holds something that
/// JSON cannot represent: a date, data, or a number that is not finite.
std::optional<QJsonValue> toJson(const PropertyListValue &value);

/// All of `values` as one object. None if JSON cannot represent one of them.
std::optional<QJsonObject> toJson(const PropertyListDictionary &values);

/// A JSON value as the suite stores it: numbers without a fraction become integers. None for null, which no
/// property list can hold.
std::optional<PropertyListValue> fromJson(const QJsonValue &value);

} // namespace kavrin
