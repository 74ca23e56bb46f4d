// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kavrin
{

/// What a screen says of the write that the calling thread has just made to the shared suite: nothing where
/// it was stored, else why it was not.
QString storeNote(bool stored);

} // namespace kavrin
