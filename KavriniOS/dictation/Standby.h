// SPDX-License-Identifier: MIT
#pragma once

#include "platform/AudioPlayer.h"
#include "platform/AudioSession.h"

#include <QObject>

namespace kavrin
{

/// Keeps the audio session alive: after an audio interruption, it plays one second of silence in a loop. Main
/// thread only.
class Standby : public QObject
{
    Q_OBJECT

public:
    Standby(AudioSession &session, MakeAudioPlayer makePlayer);

    /// Starts to play, unless it plays already. It reports no failure; the end of the next interruption tries
    /// again.
    QCoro::Task<> start();

    /// One second of silence as a RIFF/WAVE file: PCM, one channel, 8000 Hz, 16 bits; 16,044 bytes.
    static QByteArray silentWAV();

private:
    [[nodiscard]] bool isPlaying() const;
    void onInterruption(std::optional<AudioSession::InterruptionType> type);

    AudioSession &m_session;
    MakeAudioPlayer m_makePlayer;
    std::unique_ptr<AudioPlayer> m_player;
};

} // namespace kavrin
