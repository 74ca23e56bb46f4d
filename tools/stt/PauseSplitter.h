// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kavrin
{

/// Cuts a recording (mono, speechSampleRate) into pieces short enough to be recognised each in one go, so
/// that the time for a long recording grows no faster than its length.
///
/// A recording of up to 15 seconds stays whole. A longer one is cut between 8 and 15 seconds after the last
/// cut, in the middle of the quietest third of a second found there, so that a cut falls between words
/// wherever the speaker paused. The pieces follow each other without gaps and refer to `samples`.
std::vector<std::span<const std::int16_t>> splitAtPauses(std::span<const std::int16_t> samples);

} // namespace kavrin
