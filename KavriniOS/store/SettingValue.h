// SPDX-License-Identifier: MIT
#pragma once

#include "catalogue/Catalogue.h"
#include "platform/PropertyListValue.h"

#include <optional>

namespace kavrin
{

/// `value` as the suite stores it under a setting of this kind: a toggle's bool, which 0 and 1 are, too; the
/// double of a number in a slider's range, between its steps as well; a choice's listed value; a text's
/// line, without white space around it if it is a secret. None if it does not fit, and for an action.
std::optional<PropertyListValue> fittingValue(const catalogue::Kind &kind, const PropertyListValue &value);

/// What fits a setting of this kind, in words that follow "is": "a number from 36 to 80".
QString fittingValues(const catalogue::Kind &kind);

/// Whether the text is one line without control characters.
bool isOneLine(const QString &text);

/// The text without line breaks and other control characters.
QString toOneLine(QString text);

} // namespace kavrin
