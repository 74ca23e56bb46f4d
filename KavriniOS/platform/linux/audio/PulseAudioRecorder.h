// SPDX-License-Identifier: MIT
#pragma once

#include "platform/AudioRecorder.h"
#include "platform/linux/audio/SoundCodecs.h"
#include "platform/linux/audio/SoundLevel.h"
#include "platform/linux/audio/SoundServer.h"
#include "platform/linux/audio/SoundStream.h"

#include <QDeadlineTimer>
#include <QPromise>
#include <QTimer>

#include <chrono>
#include <memory>
#include <span>
#include <vector>

namespace kavrin
{

/// Records from the sound server's default source. The sound thread encodes and writes samples as they
/// arrive, so only the file grows with the length of the recording. A recorder records once: record() gives
/// false after stop(), and after the server went away.
///
/// A file that can no longer be written (a full disk) keeps what it holds. The recording continues without
/// it.
class PulseAudioRecorder final : public AudioRecorder
{
public:
    /// How long the first samples may take: until record() gives false, and until failure() says that none
    /// came. Some headsets need a second to switch their microphone on.
    struct Patience {
        std::chrono::milliseconds toStart = std::chrono::milliseconds(500);
        std::chrono::milliseconds toFail = std::chrono::seconds(2);
    };

    static MakeAudioRecorder factory(std::shared_ptr<SoundServer> server);
    static MakeAudioRecorder factory(std::shared_ptr<SoundServer> server, Patience patience);

    /// Opens the file; see MakeAudioRecorder.
    PulseAudioRecorder(std::shared_ptr<SoundServer> server, const QString &path,
                       const AudioRecorderSettings &settings, Patience patience);
    ~PulseAudioRecorder() override;

    PulseAudioRecorder(const PulseAudioRecorder &) = delete;
    PulseAudioRecorder &operator=(const PulseAudioRecorder &) = delete;

    /// Connects to the server first if the connection was lost, which may take up to two seconds. The task
    /// may outlive the recorder: it gives false if the recorder is destroyed first.
    QCoro::Task<bool> record() override;
    void stop() override;
    [[nodiscard]] bool isRecording() const override;
    [[nodiscard]] bool hasSound() const override;

    [[nodiscard]] std::optional<Error> failure() const override;
    bool isMuted() override;
    void setMeteringEnabled(bool enabled) override;
    void updateMeters() override;
    [[nodiscard]] float averagePower(int channel) const override;

private:
    void openStream();
    void read(pa_stream *stream);
    void take(std::span<const float> samples);
    void end();
    void answer(bool samplesCame);

    std::shared_ptr<SoundServer> m_server;
    int m_sampleRate;
    int m_channels;
    std::chrono::milliseconds m_patienceToFail;
    QTimer m_patienceToStart;
    QDeadlineTimer m_soundIsDue = QDeadlineTimer(QDeadlineTimer::Forever);
    std::vector<float> m_averagePower; ///< of each channel, at the last update

    // The members below need the server's lock.
    std::unique_ptr<SoundFileWriter> m_writer;
    SoundLevel m_level;
    bool m_metering = false;
    bool m_stopped = false;
    QPromise<bool> m_firstSamples; ///< the result of record()
    bool m_answered = false;
    bool m_isHearing = false; ///< samples have come
    bool m_hasEnded = false; ///< the stream, by itself
    std::unique_ptr<SoundStream> m_stream;
};

} // namespace kavrin
