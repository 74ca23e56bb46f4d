// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kavrin
{

/// The text without what would act on the program that it is typed into:
///
/// - A line break of any kind, with the blanks round it, becomes one blank. There is
///   none at the beginning and at the end.
/// - A tab becomes a blank.
/// - Other control characters (Unicode's category Cc), halves of surrogate pairs, and the characters that
///   turn the direction of the text after them (U+202A to U+202E, U+2066 to U+2069) go.
///
/// Everything else stays as it is, joiners and variation selectors among it, which emoji and scripts need.
QString cleanText(const QString &text);

} // namespace kavrin
