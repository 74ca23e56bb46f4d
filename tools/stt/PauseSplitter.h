// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kavrin
{

/// Cuts a recording (mono, speechSampleRate) into pieces that are short enough to be recognised in one step
/// each, so that the time for a long recording is proportional to its length.
///
/// A recording of up to 15 seconds stays whole. A longer one is cut between 8 and 15 seconds after the last
/// cut, in the middle of the quietest third of a second there. A cut is thus between words if the speaker
/// paused. The pieces follow each other without gaps and refer to `samples`.
std::vector<std::span<const std::int16_t>> splitAtPauses(std::span<const std::int16_t> samples);

} // namespace kavrin
