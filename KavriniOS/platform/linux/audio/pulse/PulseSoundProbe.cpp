// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SoundLevel.h"
#include "platform/linux/audio/SoundProbe.h"
#include "platform/linux/audio/SoundServer.h"
#include "platform/linux/audio/SoundStream.h"

#include <array>
#include <chrono>
#include <future>
#include <memory>
#include <span>
#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

using namespace std::chrono_literals;

constexpr auto answerLimit = 2s;
constexpr auto levelLimit = 3s; // some headsets need a second to switch their microphone on
constexpr pa_sample_spec format{.format = PA_SAMPLE_FLOAT32NE, .rate = 16000, .channels = 1};
constexpr std::size_t samplesOfOneSecond = format.rate;

QString fromUtf8(const char *text)
{
    return QString::fromUtf8(text);
}

/// What the server answers to a question. The sound thread fills it in.
template <typename Value> struct Answer {
    Value value{};
    std::promise<void> isComplete;
};

void takeServer(pa_context * /*context*/, const pa_server_info *info, void *data)
{
    auto *answer = static_cast<Answer<QString> *>(data);
    if (info) {
        answer->value = u"%1 %2"_s.arg(fromUtf8(info->server_name), fromUtf8(info->server_version));
    }
    answer->isComplete.set_value();
}

/// Called once for the source, if there is one, and once for the end.
void takeSource(pa_context * /*context*/, const pa_source_info *info, int end, void *data)
{
    auto *answer = static_cast<Answer<std::optional<SoundProbe::Microphone>> *>(data);
    if (end != 0) {
        answer->isComplete.set_value();
    } else if (info->monitor_of_sink == PA_INVALID_INDEX) {
        const bool isMuted = info->mute != 0 || pa_cvolume_is_muted(&info->volume) != 0;
        answer->value = SoundProbe::Microphone{fromUtf8(info->description), isMuted};
    }
}

/// Puts a question to the server, and waits for the answer. `ask` gets the connection and where the answer
/// goes.
template <typename Value, typename Ask> Value answered(SoundServer &server, const Ask &ask)
{
    server.connect();
    Answer<Value> answer;
    std::future<void> completion = answer.isComplete.get_future();
    pa_operation *operation = nullptr;
    {
        const SoundServer::Lock lock(server);
        operation = ask(server.context(), &answer);
    }
    const bool hasCome = operation && completion.wait_for(answerLimit) == std::future_status::ready;
    const SoundServer::Lock lock(server);
    if (operation) {
        pa_operation_cancel(operation);
        pa_operation_unref(operation);
    }
    if (!hasCome) {
        throw Error(u"audio"_s, 7, u"The sound server does not answer. Restart PipeWire or PulseAudio."_s);
    }
    return answer.value;
}

/// Measures a second of sound. Its functions run on the sound thread with the server's lock held.
class Second
{
public:
    std::future<void> completion() { return m_isComplete.get_future(); }

    void take(pa_stream *stream)
    {
        const void *data = nullptr;
        std::size_t bytes = 0;
        while (pa_stream_peek(stream, &data, &bytes) == 0 && bytes > 0) {
            if (data && m_samples < samplesOfOneSecond) {
                add(std::span(static_cast<const float *>(data), bytes / sizeof(float)));
            }
            pa_stream_drop(stream);
        }
    }

    void end()
    {
        if (!std::exchange(m_hasEnded, true)) {
            m_isComplete.set_value();
        }
    }

    std::optional<float> level()
    {
        const std::vector<float> power = m_level.take();
        return power.empty() ? std::nullopt : std::optional(power.front());
    }

private:
    void add(std::span<const float> samples)
    {
        m_level.add(samples);
        m_samples += samples.size();
        if (m_samples >= samplesOfOneSecond) {
            end();
        }
    }

    SoundLevel m_level{format.channels};
    std::size_t m_samples = 0;
    bool m_hasEnded = false;
    std::promise<void> m_isComplete;
};

constexpr pa_buffer_attr captureBuffer()
{
    constexpr auto serverDefault = static_cast<std::uint32_t>(-1);
    constexpr std::uint32_t fragment = format.rate / 20 * sizeof(float);
    return {.maxlength = serverDefault,
            .tlength = serverDefault,
            .prebuf = serverDefault,
            .minreq = serverDefault,
            .fragsize = fragment};
}

class PulseSoundProbe final : public SoundProbe
{
public:
    QString server() override
    {
        return answered<QString>(*m_server, [](pa_context *context, void *answer) {
            return pa_context_get_server_info(context, &takeServer, answer);
        });
    }

    std::optional<Microphone> microphone() override
    {
        return answered<std::optional<Microphone>>(*m_server, [](pa_context *context, void *answer) {
            return pa_context_get_source_info_by_name(context, "@DEFAULT_SOURCE@", &takeSource, answer);
        });
    }

    std::optional<float> level() override
    {
        m_server->connect();
        Second second;
        const std::future<void> completion = second.completion();
        std::unique_ptr<SoundStream> stream;
        {
            const SoundServer::Lock lock(*m_server);
            stream = std::make_unique<SoundStream>(
                m_server,
                SoundStream::Description{SoundStream::Direction::Capture, "Test", format, captureBuffer()},
                SoundStream::Handlers{
                    .transfer = [&](pa_stream *source, std::size_t /*bytes*/) { second.take(source); },
                    .ended = [&] { second.end(); }});
        }
        completion.wait_for(levelLimit);
        stream.reset();
        return second.level();
    }

private:
    std::shared_ptr<SoundServer> m_server = std::make_shared<SoundServer>();
};

} // namespace

} // namespace kavrin

extern "C" Q_DECL_EXPORT kavrin::SoundProbe *kavrin_sound_probe()
{
    static kavrin::PulseSoundProbe probe;
    return &probe;
}
