// SPDX-License-Identifier: MIT
#include "platform/linux/audio/PulseAudioPlayer.h"

#include <algorithm>
#include <utility>

namespace kavrin
{

namespace
{

constexpr pa_usec_t bufferDuration = 4 * PA_USEC_PER_SEC;

// The server asks for more in steps of this size, and its device sleeps for half of what two steps leave of
// the buffer. So this program and the server both wake about once a second.
constexpr pa_usec_t requestDuration = bufferDuration / 4;

pa_sample_spec sampleSpec(const SoundFormat &format)
{
    return {.format = PA_SAMPLE_S16NE,
            .rate = static_cast<std::uint32_t>(format.sampleRate),
            .channels = static_cast<std::uint8_t>(format.channels)};
}

pa_buffer_attr playbackBuffer(const pa_sample_spec &format)
{
    const auto bytes = [&](pa_usec_t duration) {
        return static_cast<std::uint32_t>(pa_usec_to_bytes(duration, &format));
    };
    constexpr auto serverDefault = static_cast<std::uint32_t>(-1);
    // A sound that is shorter than the buffer starts at once, too.
    const auto firstFrame = static_cast<std::uint32_t>(pa_frame_size(&format));
    return {.maxlength = serverDefault,
            .tlength = bytes(bufferDuration),
            .prebuf = firstFrame,
            .minreq = bytes(requestDuration),
            .fragsize = serverDefault};
}

} // namespace

MakeAudioPlayer PulseAudioPlayer::factory(std::shared_ptr<SoundServer> server)
{
    return [server = std::move(server)](const QByteArray &wav) {
        return std::make_unique<PulseAudioPlayer>(server, wav);
    };
}

PulseAudioPlayer::PulseAudioPlayer(std::shared_ptr<SoundServer> server, const QByteArray &wav)
    : m_server(std::move(server)), m_sound(SoundCodecs::load().decode(wav))
{
}

PulseAudioPlayer::~PulseAudioPlayer() = default;

void PulseAudioPlayer::setNumberOfLoops(int loops)
{
    const SoundServer::Lock lock(*m_server);
    m_loops = loops;
    m_loopsLeft = loops;
}

void PulseAudioPlayer::setVolume(float volume)
{
    const SoundServer::Lock lock(*m_server);
    m_volume = std::clamp(volume, 0.F, 1.F);
}

void PulseAudioPlayer::prepareToPlay()
{
    m_server->whenConnected([](pa_context *) { });
}

bool PulseAudioPlayer::play()
{
    if (m_stream && m_stream->isAlive()) {
        return true;
    }
    m_stream.reset();
    m_position = 0;
    m_loopsLeft = m_loops;
    const pa_sample_spec format = sampleSpec(m_sound.format);
    const SoundStream::Description description{.direction = SoundStream::Direction::Playback,
                                               .name = "Sound",
                                               .format = format,
                                               .buffer = playbackBuffer(format)};
    SoundStream::Handlers handlers;
    handlers.transfer = [this](pa_stream *stream, std::size_t bytes) { write(stream, bytes); };
    handlers.ended = [] { };
    try {
        m_server->connect();
        // The first write may come before m_stream is set, but not while this thread holds the lock.
        const SoundServer::Lock lock(*m_server);
        m_stream = std::make_unique<SoundStream>(m_server, description, std::move(handlers));
    } catch (const Error &) {
        return false;
    }
    return true;
}

bool PulseAudioPlayer::isPlaying() const
{
    return m_stream && m_stream->isAlive() && !m_stream->isSuspended();
}

void PulseAudioPlayer::write(pa_stream *stream, std::size_t bytes)
{
    // libpulse may lend less room than this function asks for.
    while (bytes > 0) {
        void *room = nullptr;
        std::size_t size = bytes;
        if (pa_stream_begin_write(stream, &room, &size) < 0 || !room) {
            return;
        }
        const std::size_t samples =
            fill(std::span(static_cast<std::int16_t *>(room), size / sizeof(std::int16_t)));
        if (samples == 0) {
            pa_stream_cancel_write(stream);
            m_stream->endWhenDrained();
            return;
        }
        pa_stream_write(stream, room, samples * sizeof(std::int16_t), nullptr, 0, PA_SEEK_RELATIVE);
        bytes -= std::min(bytes, samples * sizeof(std::int16_t));
    }
}

/// Fills `target` with the sound, again and again. Returns the number of samples, which is smaller only at
/// the end.
std::size_t PulseAudioPlayer::fill(std::span<std::int16_t> target)
{
    std::size_t filled = 0;
    while (filled < target.size()) {
        if (m_position == m_sound.samples.size()) {
            if (m_loopsLeft == 0) {
                break;
            }
            m_loopsLeft -= m_loopsLeft > 0 ? 1 : 0;
            m_position = 0;
        }
        const std::size_t count = std::min(target.size() - filled, m_sound.samples.size() - m_position);
        for (std::size_t index = 0; index < count; ++index) {
            const auto sample = static_cast<float>(m_sound.samples[m_position + index]);
            target[filled + index] = static_cast<std::int16_t>(sample * m_volume);
        }
        filled += count;
        m_position += count;
    }
    return filled;
}

} // namespace kavrin
