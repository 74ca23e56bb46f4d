// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

namespace kavrin
{

struct SoundFormat {
    int sampleRate = 0; ///< hertz
    int channels = 0;
};

/// A sound in memory.
struct Sound {
    SoundFormat format;
    std::vector<std::int16_t> samples; ///< interleaved
};

} // namespace kavrin
