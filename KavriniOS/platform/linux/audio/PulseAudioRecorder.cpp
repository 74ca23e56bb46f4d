// SPDX-License-Identifier: MIT
#include "platform/linux/audio/PulseAudioRecorder.h"

#include "platform/Logging.h"

#include <QCoroFuture>

#include <algorithm>
#include <array>
#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

// Short enough to be ready within a few hundredths of a second, and long enough to wake the machine rarely.
constexpr pa_usec_t fragmentDuration = 20 * PA_USEC_PER_MSEC;

constexpr std::array<float, 1024> silence{};

/// Holds no recorder, because that may no longer exist when this resumes.
QCoro::Task<bool> result(QFuture<bool> future)
{
    co_return co_await future;
}

pa_buffer_attr captureBuffer(const pa_sample_spec &format)
{
    constexpr auto serverDefault = static_cast<std::uint32_t>(-1);
    const auto fragment = static_cast<std::uint32_t>(pa_usec_to_bytes(fragmentDuration, &format));
    return {.maxlength = serverDefault,
            .tlength = serverDefault,
            .prebuf = serverDefault,
            .minreq = serverDefault,
            .fragsize = fragment};
}

} // namespace

MakeAudioRecorder PulseAudioRecorder::factory(std::shared_ptr<SoundServer> server)
{
    return factory(std::move(server), Patience{});
}

MakeAudioRecorder PulseAudioRecorder::factory(std::shared_ptr<SoundServer> server, Patience patience)
{
    return
        [server = std::move(server), patience](const QString &path, const AudioRecorderSettings &settings) {
            return std::make_shared<PulseAudioRecorder>(server, path, settings, patience);
        };
}

PulseAudioRecorder::PulseAudioRecorder(std::shared_ptr<SoundServer> server, const QString &path,
                                       const AudioRecorderSettings &settings, Patience patience)
    : m_server(std::move(server)), m_sampleRate(settings.sampleRate), m_channels(settings.channels),
      m_patienceToFail(patience.toFail),
      m_averagePower(static_cast<std::size_t>(std::max(settings.channels, 0)), SoundLevel::silence),
      m_writer(SoundCodecs::load().createAac(path, settings.sampleRate, settings.channels)),
      m_level(settings.channels)
{
    m_patienceToStart.setSingleShot(true);
    m_patienceToStart.setTimerType(Qt::PreciseTimer);
    m_patienceToStart.setInterval(patience.toStart);
    QObject::connect(&m_patienceToStart, &QTimer::timeout, &m_patienceToStart, [this] {
        const SoundServer::Lock lock(*m_server);
        answer(false);
    });
    m_firstSamples.start();
}

PulseAudioRecorder::~PulseAudioRecorder()
{
    const SoundServer::Lock lock(*m_server);
    m_stream.reset();
    answer(false);
}

QCoro::Task<bool> PulseAudioRecorder::record()
{
    const bool first = !m_stream && !m_stopped;
    if (first) {
        m_soundIsDue.setRemainingTime(m_patienceToFail);
        openStream();
        m_patienceToStart.start();
    }
    return result(m_firstSamples.future());
}

void PulseAudioRecorder::openStream()
{
    const pa_sample_spec format{.format = PA_SAMPLE_FLOAT32NE,
                                .rate = static_cast<std::uint32_t>(m_sampleRate),
                                .channels = static_cast<std::uint8_t>(m_channels)};
    const SoundStream::Description description{.direction = SoundStream::Direction::Capture,
                                               .name = "Dictation",
                                               .format = format,
                                               .buffer = captureBuffer(format)};
    SoundStream::Handlers handlers;
    handlers.transfer = [this](pa_stream *stream, std::size_t /*bytes*/) { read(stream); };
    handlers.ended = [this] { end(); };
    try {
        m_server->connect();
        const SoundServer::Lock lock(*m_server);
        m_stream = std::make_unique<SoundStream>(m_server, description, std::move(handlers));
    } catch (const Error &error) {
        qCWarning(Logging::sound) << "No microphone:" << error.localizedDescription;
        const SoundServer::Lock lock(*m_server);
        end();
    }
}

void PulseAudioRecorder::stop()
{
    m_patienceToStart.stop();
    const SoundServer::Lock lock(*m_server);
    m_stopped = true;
    if (m_stream) {
        m_stream->transferNow();
        m_stream.reset();
    }
    m_writer->finish();
    answer(false);
}

bool PulseAudioRecorder::isRecording() const
{
    return m_stream && m_stream->isAlive();
}

bool PulseAudioRecorder::hasSound() const
{
    const SoundServer::Lock lock(*m_server);
    return m_writer->hasSound();
}

std::optional<Error> PulseAudioRecorder::failure() const
{
    const SoundServer::Lock lock(*m_server);
    if (!m_isHearing && (m_hasEnded || m_soundIsDue.hasExpired())) {
        return Error(u"audio"_s, 5,
                     u"No sound comes from the microphone. Check that one is connected and that the "
                     "sound server answers, then stop, and start again."_s);
    }
    if (m_hasEnded) {
        return Error(u"audio"_s, 3,
                     u"The microphone or the sound server went away. What was said before is "
                     "kept; stop, and start again once it is back."_s);
    }
    return m_writer->failure();
}

bool PulseAudioRecorder::isMuted()
{
    const SoundServer::Lock lock(*m_server);
    if (m_stream) {
        m_stream->askWhetherMuted();
    }
    return m_stream && m_stream->isMuted();
}

void PulseAudioRecorder::setMeteringEnabled(bool enabled)
{
    const SoundServer::Lock lock(*m_server);
    m_metering = enabled;
}

void PulseAudioRecorder::updateMeters()
{
    const SoundServer::Lock lock(*m_server);
    if (std::vector<float> power = m_level.take(); !power.empty()) {
        m_averagePower = std::move(power);
    }
}

float PulseAudioRecorder::averagePower(int channel) const
{
    const bool exists = channel >= 0 && channel < m_channels;
    return exists ? m_averagePower[static_cast<std::size_t>(channel)] : SoundLevel::silence;
}

void PulseAudioRecorder::read(pa_stream *stream)
{
    const void *data = nullptr;
    std::size_t bytes = 0;
    while (pa_stream_peek(stream, &data, &bytes) == 0 && bytes > 0) {
        const std::size_t samples = bytes / sizeof(float);
        if (data) {
            m_isHearing = true;
            take(std::span(static_cast<const float *>(data), samples));
        } else {
            // Samples that the server left out become silence, so that the rest keeps its place in time.
            for (std::size_t done = 0; done < samples; done += silence.size()) {
                take(std::span(silence).first(std::min(silence.size(), samples - done)));
            }
        }
        pa_stream_drop(stream);
        answer(true);
    }
}

void PulseAudioRecorder::take(std::span<const float> samples)
{
    m_writer->write(samples);
    if (m_metering) {
        m_level.add(samples);
    }
}

/// The stream has ended by itself.
void PulseAudioRecorder::end()
{
    m_hasEnded = true;
    answer(false);
}

/// The first answer counts.
void PulseAudioRecorder::answer(bool samplesCame)
{
    if (!std::exchange(m_answered, true)) {
        m_firstSamples.addResult(samplesCame);
        m_firstSamples.finish();
    }
}

} // namespace kavrin
