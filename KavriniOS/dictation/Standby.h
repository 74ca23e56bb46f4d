// SPDX-License-Identifier: MIT
#pragma once

#include "platform/AudioPlayer.h"
#include "platform/AudioSession.h"

#include <QObject>

namespace kavrin
{

/// Keeps the audio session alive by looping a second of silence, from the end of an audio interruption on.
/// Main thread only.
class Standby : public QObject
{
    Q_OBJECT

public:
    Standby(AudioSession &session, MakeAudioPlayer makePlayer);

    /// Plays unless it plays already. A failure is not reported; the end of the next interruption tries
    /// again.
    void start();

    /// One second of silence as a RIFF/WAVE file: PCM, one channel, 8000 Hz, 16 bits; 16,044 bytes.
    static QByteArray silentWAV();

private:
    void onInterruption(std::optional<AudioSession::InterruptionType> type);

    AudioSession &m_session;
    MakeAudioPlayer m_makePlayer;
    std::unique_ptr<AudioPlayer> m_player;
};

} // namespace kavrin
