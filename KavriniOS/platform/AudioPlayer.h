// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QByteArray>

#include <functional>
#include <memory>

namespace kavrin
{

/// Plays one sound held in memory. Main thread only.
class AudioPlayer
{
public:
    /// Stops playing.
    virtual ~AudioPlayer() = default;

    /// How often the sound is repeated after the first time; -1 repeats it without end.
    virtual void setNumberOfLoops(int loops) = 0;

    /// 0 is silence, 1 the sound's own volume.
    virtual void setVolume(float volume) = 0;

    /// Gets ready to play without delay.
    virtual void prepareToPlay() = 0;

    /// Starts playing. False if that failed.
    virtual bool play() = 0;

    [[nodiscard]] virtual bool isPlaying() const = 0;
};

/// Makes a player of the RIFF/WAVE file `wav`. Throws Error if the file cannot be read.
using MakeAudioPlayer = std::function<std::unique_ptr<AudioPlayer>(const QByteArray &wav)>;

} // namespace kavrin
