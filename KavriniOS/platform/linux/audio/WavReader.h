// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QByteArray>

#include <vector>

namespace kavrin
{

/// A sound ready to be played.
struct Sound {
    int sampleRate = 0; ///< hertz
    int channels = 0;
    std::vector<float> samples; ///< interleaved, between -1 and 1
};

/// Decodes a RIFF/WAVE file held in memory. Throws Error "audio" where it is none, or holds no samples.
Sound readWav(const QByteArray &wav);

} // namespace kavrin
