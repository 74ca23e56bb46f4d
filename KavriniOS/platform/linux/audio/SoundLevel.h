// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <vector>

namespace kavrin
{

/// The loudness of sound, channel by channel. Not thread-safe.
class SoundLevel
{
public:
    static constexpr float silence = -160; ///< decibels; nothing is quieter

    explicit SoundLevel(int channels);

    /// Adds interleaved samples between -1 and 1.
    void add(std::span<const float> samples);

    /// The mean power of each channel over the samples added since the last call, in decibels relative to
    /// full scale. Empty if there were none.
    std::vector<float> take();

private:
    std::vector<double> m_squares; ///< the sum of squares of each channel
    std::size_t m_frames = 0;
};

} // namespace kavrin
