// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

namespace kavrin
{

/// The keys of services that are in the settings now, if they have eight or more characters: a shorter one
/// would mask parts of words.
QStringList keysInForce();

/// A service's message as one line of at most 200 characters. It shows none of `keys`, in whatever spelling
/// the service repeats it: plain, as in JSON, as in an address.
QString maskedLine(const QString &message, QStringList keys);

} // namespace kavrin
