// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PropertyListValue.h"

#include <QJsonObject>
#include <QJsonValue>

#include <optional>

namespace kavrin
{

/// `value` as JSON: booleans, numbers, strings, arrays and objects. None where it is or holds what JSON
/// cannot represent: a date, data, a number that is not finite.
std::optional<QJsonValue> toJson(const PropertyListValue &value);

/// All of `values` as one object; none as above.
std::optional<QJsonObject> toJson(const PropertyListDictionary &values);

/// A JSON value as it is stored: numbers without a fraction as integers. None for null, which no property
/// list can hold.
std::optional<PropertyListValue> fromJson(const QJsonValue &value);

} // namespace kavrin
