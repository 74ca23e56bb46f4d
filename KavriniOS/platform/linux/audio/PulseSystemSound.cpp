// SPDX-License-Identifier: MIT
#include "platform/linux/audio/PulseSystemSound.h"

#include <cmath>
#include <numbers>
#include <utility>
#include <vector>

namespace kavrin
{

namespace
{

using Samples = std::vector<float>;

constexpr pa_sample_spec format{.format = PA_SAMPLE_FLOAT32NE, .rate = 48000, .channels = 1};
constexpr std::size_t length = 6000; // samples, an eighth of a second
constexpr double low = 587.33; // hertz, D5
constexpr double high = 880; // hertz, A5
constexpr double loudness = 0.25;

/// A tone that glides from one pitch to another. A bell-shaped envelope starts and ends it softly.
Samples glide(double from, double to)
{
    Samples samples(length);
    double phase = 0;
    for (std::size_t index = 0; index < length; ++index) {
        const double progress = static_cast<double>(index) / length;
        const double envelope = std::pow(std::sin(std::numbers::pi * progress), 2);
        samples[index] = static_cast<float>(loudness * envelope * std::sin(phase));
        phase += 2 * std::numbers::pi * std::lerp(from, to, progress) / format.rate;
    }
    return samples;
}

/// The sounds live as long as the process, so a stream without an owner may play them.
const Samples &samplesOf(SystemSound::Id sound)
{
    static const Samples begin = glide(low, high);
    static const Samples end = glide(high, low);
    return sound == SystemSound::Id::BeginRecording ? begin : end;
}

void hangUp(pa_stream *stream, int /*success*/, void * /*samples*/)
{
    pa_stream_disconnect(stream);
}

void handOver(pa_stream *stream, const Samples &samples)
{
    pa_stream_write(stream, samples.data(), samples.size() * sizeof(float), nullptr, 0, PA_SEEK_RELATIVE);
    if (pa_operation *drain = pa_stream_drain(stream, &hangUp, nullptr)) {
        pa_operation_unref(drain);
    } else {
        pa_stream_disconnect(stream);
    }
}

/// The stream owns itself until it ends, for whatever reason.
void stateChanged(pa_stream *stream, void *samples)
{
    switch (pa_stream_get_state(stream)) {
    case PA_STREAM_READY:
        handOver(stream, *static_cast<const Samples *>(samples));
        break;
    case PA_STREAM_FAILED:
    case PA_STREAM_TERMINATED:
        pa_stream_set_state_callback(stream, nullptr, nullptr);
        pa_stream_unref(stream);
        break;
    default:
        break;
    }
}

void begin(pa_context *context, const Samples &samples)
{
    pa_proplist *properties = pa_proplist_new();
    pa_proplist_sets(properties, PA_PROP_MEDIA_ROLE, "event");
    pa_stream *stream = pa_stream_new_with_proplist(context, "Tone", &format, nullptr, properties);
    pa_proplist_free(properties);
    if (!stream) {
        return;
    }
    pa_stream_set_state_callback(stream, &stateChanged, const_cast<Samples *>(&samples));
    const auto bytes = static_cast<std::uint32_t>(samples.size() * sizeof(float));
    constexpr auto serverDefault = static_cast<std::uint32_t>(-1);
    const pa_buffer_attr buffer{.maxlength = serverDefault,
                                .tlength = bytes,
                                .prebuf = bytes,
                                .minreq = serverDefault,
                                .fragsize = serverDefault};
    if (pa_stream_connect_playback(stream, nullptr, &buffer, PA_STREAM_NOFLAGS, nullptr, nullptr) < 0) {
        pa_stream_unref(stream);
    }
}

} // namespace

PulseSystemSound::PulseSystemSound(std::shared_ptr<SoundServer> server) : m_server(std::move(server)) { }

void PulseSystemSound::play(Id sound)
{
    const Samples &samples = samplesOf(sound);
    m_server->whenConnected([&samples](pa_context *context) { begin(context, samples); });
}

} // namespace kavrin
