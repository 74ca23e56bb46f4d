// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/audio/PulseAudioRecorder.h"

namespace kavrin::test
{

/// For tests of anything but waiting: the first samples come in the end, however busy the machine is.
inline constexpr PulseAudioRecorder::Patience patientWithSound{.toStart = std::chrono::seconds(25)};

} // namespace kavrin::test
