// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SoundLevel.h"

#include <algorithm>
#include <cmath>

namespace kavrin
{

SoundLevel::SoundLevel(int channels) : m_squares(static_cast<std::size_t>(channels)) { }

void SoundLevel::add(std::span<const float> samples)
{
    const std::size_t channels = m_squares.size();
    for (std::size_t index = 0; index < samples.size(); ++index) {
        m_squares[index % channels] += static_cast<double>(samples[index]) * samples[index];
    }
    m_frames += samples.size() / channels;
}

std::vector<float> SoundLevel::take()
{
    std::vector<float> power;
    if (m_frames > 0) {
        for (double &squares : m_squares) {
            const double mean = squares / static_cast<double>(m_frames);
            power.push_back(std::max(silence, static_cast<float>(10 * std::log10(mean))));
            squares = 0;
        }
    }
    m_frames = 0;
    return power;
}

} // namespace kavrin
