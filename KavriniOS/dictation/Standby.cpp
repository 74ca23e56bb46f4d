// SPDX-License-Identifier: MIT
#include "dictation/Standby.h"

#include "dictation/DictationSession.h"

#include <QDataStream>
#include <QIODevice>
#include <QPointer>
#include <QTimer>

namespace kavrin
{

Standby::Standby(AudioSession &session, MakeAudioPlayer makePlayer)
    : m_session(session), m_makePlayer(std::move(makePlayer))
{
    connect(&session, &AudioSession::interruption, this, &Standby::onInterruption);
}

bool Standby::isPlaying() const
{
    return m_player && m_player->isPlaying();
}

QCoro::Task<> Standby::start()
{
    if (isPlaying()) {
        co_return;
    }
    const QPointer<Standby> self(this);
    try {
        const QCoro::Task<> activation = activateForDictation(m_session);
        co_await activation;
        if (!self || isPlaying()) {
            co_return;
        }
        m_player = m_makePlayer(silentWAV());
        m_player->setNumberOfLoops(-1);
        m_player->setVolume(1);
        m_player->prepareToPlay();
        m_player->play();
    } catch (const Error &) {
        if (self) {
            m_player.reset();
        }
    }
}

void Standby::onInterruption(std::optional<AudioSession::InterruptionType> type)
{
    if (type.value_or(AudioSession::InterruptionType::Ended) == AudioSession::InterruptionType::Ended) {
        QTimer::singleShot(0, this, &Standby::start);
    }
}

QByteArray Standby::silentWAV()
{
    constexpr quint16 linearPcm = 1;
    constexpr quint16 channels = 1;
    constexpr quint32 sampleRate = 8000;
    constexpr quint16 bytesPerSample = 2;
    constexpr quint32 dataSize = sampleRate * bytesPerSample;

    QByteArray wav;
    QDataStream stream(&wav, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    stream.writeRawData("RIFF", 4);
    stream << quint32(36 + dataSize);
    stream.writeRawData("WAVEfmt ", 8);
    stream << quint32(16) << linearPcm << channels << sampleRate << quint32(sampleRate * bytesPerSample)
           << bytesPerSample << quint16(8 * bytesPerSample);
    stream.writeRawData("data", 4);
    stream << dataSize;
    return wav + QByteArray(dataSize, '\0');
}

} // namespace kavrin
