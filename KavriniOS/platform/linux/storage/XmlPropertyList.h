// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PropertyListValue.h"

#include <QByteArrayView>

#include <optional>

namespace kavrin
{

/// The value of a property list in the XML form. None if the list does not keep to its document type in
/// everything: libplist reads what it can of a broken list.
std::optional<PropertyListValue> parseXmlPropertyList(QByteArrayView data);

} // namespace kavrin
