// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/audio/SoundCodecs.h"

namespace kavrin
{

/// See SoundCodecs::readWav().
Sound readWav(const QByteArray &wav);

} // namespace kavrin
