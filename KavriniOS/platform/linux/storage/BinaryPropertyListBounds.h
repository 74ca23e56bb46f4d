// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayView>

namespace kavrin
{

/// Whether a binary property list is complete, and small enough to be read without running out of stack,
/// memory or patience. It must not be nested too deeply, and must not have too many values after every
/// reference is followed. (A list of a hundred bytes may refer to the same few lists millions of times.) A
/// key must not hold U+0000 either.
bool isWithinBounds(QByteArrayView binary);

} // namespace kavrin
