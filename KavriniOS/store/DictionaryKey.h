// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kavrin
{

/// The key of the shared suite that holds the personal dictionary, a text with an entry a line.
inline const QString dictionaryKey = QStringLiteral("userDict");

} // namespace kavrin
