// SPDX-License-Identifier: MIT
#include "platform/linux/audio/PulseAudioPlayer.h"

#include "SoundFiles.h"
#include "support/PatientRecorder.h"
#include "support/PrivateSoundServer.h"
#include "support/Wait.h"

#include <QDir>

#include <gtest/gtest.h>

namespace kavrin::test
{

namespace
{

constexpr int rate = 16000;
constexpr int endless = -1;

class PulseAudioPlayerTest : public testing::Test
{
protected:
    PulseAudioPlayerTest() { m_machine.start(); }

    std::unique_ptr<AudioPlayer> makePlayer(double seconds = 0.1)
    {
        return PulseAudioPlayer::factory(m_server)(wavOf(tone(440, seconds, 8000), 8000));
    }

    [[nodiscard]] bool isSpeakerInUse() const
    {
        return !m_machine.streams(QStringLiteral("sink-inputs")).isEmpty();
    }

    void suspendSpeaker(bool suspended) const
    {
        m_machine.control({QStringLiteral("suspend-sink"), QStringLiteral("speaker"),
                           suspended ? QStringLiteral("1") : QStringLiteral("0")});
    }

    std::shared_ptr<PulseAudioRecorder> makeListener()
    {
        auto listener =
            std::make_shared<PulseAudioRecorder>(m_server, m_path, AudioRecorderSettings(), patientWithSound);
        listener->setMeteringEnabled(true);
        EXPECT_TRUE(await(listener->record()));
        return listener;
    }

    static float power(PulseAudioRecorder &listener)
    {
        listener.updateMeters();
        return listener.averagePower(0);
    }

    /// What the microphone heard of a player that has ended.
    std::vector<float> heardBy(PulseAudioRecorder &listener) const
    {
        EXPECT_TRUE(waitUntil([&] { return power(listener) < -100; }));
        listener.stop();
        return withoutSilence(decoded(m_path));
    }

    PrivateSoundServer m_machine;
    std::shared_ptr<SoundServer> m_server = std::make_shared<SoundServer>();
    QString m_path = QDir::home().filePath(QStringLiteral("heard.m4a"));
};

} // namespace

TEST_F(PulseAudioPlayerTest, RefusesWhatIsNoSound)
{
    EXPECT_THROW(PulseAudioPlayer::factory(m_server)("rubbish"), Error);
}

TEST_F(PulseAudioPlayerTest, PlaysTheSoundOnceAndEnds)
{
    const auto listener = makeListener();
    const auto player = makePlayer();
    EXPECT_TRUE(player->play());
    EXPECT_TRUE(player->isPlaying());
    EXPECT_TRUE(waitUntil([&] { return !player->isPlaying(); }));
    const std::vector<float> heard = heardBy(*listener);
    EXPECT_NEAR(static_cast<double>(heard.size()) / rate, 0.1, 0.03);
    EXPECT_GT(shareOf(440, heard, rate), 0.8);
}

TEST_F(PulseAudioPlayerTest, RepeatsTheSoundAsOftenAsAsked)
{
    const auto listener = makeListener();
    const auto player = makePlayer();
    player->setNumberOfLoops(4);
    EXPECT_TRUE(player->play());
    EXPECT_TRUE(waitUntil([&] { return !player->isPlaying(); }));
    EXPECT_NEAR(static_cast<double>(heardBy(*listener).size()) / rate, 0.5, 0.03);
}

TEST_F(PulseAudioPlayerTest, PlaysAgainAfterTheEnd)
{
    const auto listener = makeListener();
    const auto player = makePlayer();
    EXPECT_TRUE(player->play());
    EXPECT_TRUE(waitUntil([&] { return !player->isPlaying(); }));
    EXPECT_TRUE(player->play());
    EXPECT_TRUE(player->isPlaying());
    EXPECT_TRUE(waitUntil([&] { return !player->isPlaying(); }));
    EXPECT_GT(static_cast<double>(heardBy(*listener).size()) / rate, 0.15);
}

TEST_F(PulseAudioPlayerTest, ReleasesTheSpeakerAtTheEnd)
{
    const auto player = makePlayer();
    EXPECT_TRUE(player->play());
    EXPECT_TRUE(waitUntil([&] { return !player->isPlaying(); }));
    EXPECT_TRUE(waitUntil([&] { return !isSpeakerInUse(); }));
}

TEST_F(PulseAudioPlayerTest, LoopsWithoutEnd)
{
    const auto player = makePlayer();
    player->setNumberOfLoops(endless);
    player->prepareToPlay();
    EXPECT_TRUE(player->play());
    const auto listener = makeListener();
    // Many times the sound, and more than was handed over in advance. Each fragment holds a second at least.
    EXPECT_TRUE(waitUntil([&] { return contentsOf(m_path).count("moof") >= 5; }));
    EXPECT_TRUE(player->isPlaying());
    listener->stop();
    const std::vector<float> heard = withoutSilence(decoded(m_path));
    EXPECT_GT(heard.size(), 4UL * rate);
    EXPECT_GT(shareOf(440, heard, rate), 0.9);
}

TEST_F(PulseAudioPlayerTest, LoopsTheShortestSound)
{
    const auto listener = makeListener();
    const auto player = PulseAudioPlayer::factory(m_server)(wavOf({0.5, 0.5, -0.5, -0.5}, 8000));
    player->setNumberOfLoops(endless);
    EXPECT_TRUE(player->play());
    EXPECT_TRUE(waitUntil([&] { return power(*listener) > -20; }));
}

TEST_F(PulseAudioPlayerTest, StopsWhenItIsDestroyed)
{
    auto player = makePlayer();
    player->setNumberOfLoops(endless);
    EXPECT_TRUE(player->play());
    EXPECT_TRUE(waitUntil([&] { return isSpeakerInUse(); }));
    player.reset();
    EXPECT_TRUE(waitUntil([&] { return !isSpeakerInUse(); }));
}

TEST_F(PulseAudioPlayerTest, PlaysAtItsVolume)
{
    const auto listener = makeListener();
    const auto player = makePlayer();
    player->setVolume(0.5);
    player->setNumberOfLoops(endless);
    EXPECT_TRUE(player->play());
    EXPECT_TRUE(waitUntil([&] { return std::abs(power(*listener) + 9.03) < 0.5; }));
}

TEST_F(PulseAudioPlayerTest, IsSilentAtVolumeZero)
{
    const auto listener = makeListener();
    const auto player = makePlayer();
    player->setVolume(0);
    EXPECT_TRUE(player->play());
    EXPECT_TRUE(waitUntil([&] { return !player->isPlaying(); }));
    EXPECT_TRUE(heardBy(*listener).empty());
}

TEST_F(PulseAudioPlayerTest, IsNotPlayingWhileTheServerHoldsTheSpeakerBack)
{
    const auto player = makePlayer();
    player->setNumberOfLoops(endless);
    EXPECT_TRUE(player->play());
    EXPECT_TRUE(waitUntil([&] { return isSpeakerInUse(); }));
    suspendSpeaker(true);
    EXPECT_TRUE(waitUntil([&] { return !player->isPlaying(); }));
    suspendSpeaker(false);
    EXPECT_TRUE(waitUntil([&] { return player->isPlaying(); }));
}

TEST_F(PulseAudioPlayerTest, IsNotPlayingAfterTheServerDied)
{
    const auto player = makePlayer();
    player->setNumberOfLoops(endless);
    EXPECT_TRUE(player->play());
    m_machine.kill();
    EXPECT_TRUE(waitUntil([&] { return !player->isPlaying(); }));
}

TEST_F(PulseAudioPlayerTest, SaysNoWhereNoServerRuns)
{
    m_machine.kill();
    const auto player = makePlayer();
    player->prepareToPlay();
    EXPECT_FALSE(player->play());
    EXPECT_FALSE(player->isPlaying());
}

TEST_F(PulseAudioPlayerTest, StartsAndStopsAHundredTimes)
{
    const auto openFiles = [] {
        return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System).size();
    };
    qsizetype before = 0;
    for (int round = 0; round < 100; ++round) {
        SCOPED_TRACE(round);
        const auto player = makePlayer();
        player->setNumberOfLoops(endless);
        ASSERT_TRUE(player->play());
        // Every other one stops while the server has not yet answered.
        if (round % 2 == 0) {
            ASSERT_TRUE(waitUntil([&] { return isSpeakerInUse(); }));
        }
        if (round == 0) {
            before = openFiles();
        }
    }
    EXPECT_EQ(openFiles(), before);
    EXPECT_TRUE(waitUntil([&] { return !isSpeakerInUse(); }));
}

TEST_F(PulseAudioPlayerTest, IsNotPlayingBeforeItIsToldTo)
{
    const auto player = makePlayer();
    player->prepareToPlay();
    EXPECT_FALSE(player->isPlaying());
}

} // namespace kavrin::test
