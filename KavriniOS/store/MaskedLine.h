// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

namespace kavrin
{

/// The keys of services that are in the settings now, if they have eight or more characters: a shorter one
/// would mask parts of words.
QStringList keysInForce();

/// The text with a blank for each character that would control a terminal or turn the direction of what
/// follows: the Unicode category Cc, U+202A to U+202E and U+2066 to U+2069.
QString withoutControls(QString text);

/// A service's message as one line of at most 200 characters, without controls. It shows none of `keys`, in
/// whatever spelling the service repeats it: plain, as in JSON, as in an address.
QString maskedLine(const QString &message, QStringList keys);

} // namespace kavrin
