// SPDX-License-Identifier: MIT
#pragma once

#include "platform/AudioPlayer.h"
#include "platform/linux/audio/SoundCodecs.h"
#include "platform/linux/audio/SoundServer.h"
#include "platform/linux/audio/SoundStream.h"

#include <memory>
#include <span>

namespace kavrin
{

/// Plays through the sound server's default sink. It hands over four seconds in advance, so that a looping
/// sound wakes the machine as rarely as possible. A change of volume is heard after those. The sound does not
/// play while the server suspends the sink, and continues by itself afterwards.
class PulseAudioPlayer final : public AudioPlayer
{
public:
    static MakeAudioPlayer factory(std::shared_ptr<SoundServer> server);

    /// Throws Error "audio" if `wav` cannot be read.
    PulseAudioPlayer(std::shared_ptr<SoundServer> server, const QByteArray &wav);
    ~PulseAudioPlayer() override;

    PulseAudioPlayer(const PulseAudioPlayer &) = delete;
    PulseAudioPlayer &operator=(const PulseAudioPlayer &) = delete;

    void setNumberOfLoops(int loops) override;
    void setVolume(float volume) override;
    void prepareToPlay() override;
    bool play() override;
    [[nodiscard]] bool isPlaying() const override;

private:
    void write(pa_stream *stream, std::size_t bytes);
    std::size_t fill(std::span<std::int16_t> target);

    std::shared_ptr<SoundServer> m_server;
    Sound m_sound;

    // The members below need the server's lock.
    int m_loops = 0;
    int m_loopsLeft = 0;
    float m_volume = 1;
    std::size_t m_position = 0; ///< the next sample to hand over
    std::unique_ptr<SoundStream> m_stream;
};

} // namespace kavrin
