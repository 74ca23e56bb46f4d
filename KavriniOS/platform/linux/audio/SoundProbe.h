// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QString>

#include <optional>

namespace kavrin
{

/// Looks at the user's sound server (PulseAudio, or PipeWire in its place) and at the microphone, for a
/// program that otherwise has nothing to do with sound. It is in the module kavrin_pulse.so
/// (platform/linux/Module.h).
///
/// Every function connects to the server if there is no connection, and waits at most two seconds for each
/// answer. It throws Error "audio" if the server cannot be reached or does not answer. One thread at a time.
class SoundProbe
{
public:
    /// The source that recordings are made from.
    struct Microphone {
        QString name; ///< as mixers show it
        bool isMuted; ///< also if its volume is zero
    };

    /// Loads the module at the first call, and never unloads it. Throws Error "audio" if the module or
    /// libpulse is missing; the next call tries again.
    static SoundProbe &load();

    virtual ~SoundProbe() = default;

    /// The server's name and version: "pulseaudio 16.1".
    [[nodiscard]] virtual QString server() = 0;

    /// The default source; none if there is none, or if it only repeats what a loudspeaker plays.
    [[nodiscard]] virtual std::optional<Microphone> microphone() = 0;

    /// Opens the default source for a second, and keeps nothing of what it hears. The mean power in decibels
    /// relative to full scale: 0 is the loudest, -160 silence. None if no sound comes within three seconds.
    [[nodiscard]] virtual std::optional<float> level() = 0;
};

/// The module's only function, named kavrin_sound_probe. Its result lives as long as the process.
using SoundProbeEntry = SoundProbe *();

} // namespace kavrin
