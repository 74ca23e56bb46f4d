// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PropertyListValue.h"

#include <QByteArrayView>

#include <optional>

/// Reads and writes property lists, in the XML and the binary form of
/// https://www.apple.com/DTDs/PropertyList-1.0.dtd. Safe from any thread.
namespace kavrin::PropertyList
{

/// The value that `data` holds in either form, or none if it is no property list.
std::optional<PropertyListValue> parse(QByteArrayView data);

/// The binary form of `value`. A text loses everything after a U+0000.
QByteArray toBinary(const PropertyListValue &value);

/// A string as it is, or a number in decimal. None for any other value.
std::optional<QString> toText(const PropertyListValue &value);

} // namespace kavrin::PropertyList
