// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayView>

namespace kavrin
{

/// Whether a binary property list is whole and within what can be read without running out of stack, memory
/// or patience: not nested too deeply, and not too many values once every reference to one is followed. (A
/// list of a hundred bytes may refer to the same few lists millions of times.) Nor may a key hold U+0000.
bool isWithinBounds(QByteArrayView binary);

} // namespace kavrin
