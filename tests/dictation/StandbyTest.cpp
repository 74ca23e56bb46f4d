// SPDX-License-Identifier: MIT
#include "dictation/Standby.h"

#include "doubles/FakeAudio.h"
#include "support/Wait.h"

#include <QCoreApplication>
#include <QtEndian>

#include <gmock/gmock.h>

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

namespace
{

using Interruption = AudioSession::InterruptionType;

class StandbyTest : public testing::Test
{
protected:
    Journal journal;
    FakeAudioSession session{journal};
    std::vector<FakeAudioPlayer *> players;
    std::optional<Error> playerFailure;
    QByteArray sound;
    Standby standby{session, [this](const QByteArray &wav) {
                        sound = wav;
                        if (playerFailure) {
                            throw Error(*playerFailure);
                        }
                        auto player = std::make_unique<FakeAudioPlayer>();
                        players.push_back(player.get());
                        return player;
                    }};

    static void deliverPosted() { QCoreApplication::sendPostedEvents(); }
};

} // namespace

TEST(Standby, TheSilenceIsOneSecondOfWave)
{
    const QByteArray wav = Standby::silentWAV();
    const auto number32 = [&](qsizetype offset) {
        return qFromLittleEndian<quint32>(wav.constData() + offset);
    };
    const auto number16 = [&](qsizetype offset) {
        return qFromLittleEndian<quint16>(wav.constData() + offset);
    };
    ASSERT_EQ(wav.size(), 16044);
    EXPECT_EQ(wav.mid(0, 4), "RIFF");
    EXPECT_EQ(number32(4), 16036U);
    EXPECT_EQ(wav.mid(8, 8), "WAVEfmt ");
    EXPECT_EQ(number32(16), 16U);
    EXPECT_EQ(number16(20), 1);
    EXPECT_EQ(number16(22), 1);
    EXPECT_EQ(number32(24), 8000U);
    EXPECT_EQ(number32(28), 16000U);
    EXPECT_EQ(number16(32), 2);
    EXPECT_EQ(number16(34), 16);
    EXPECT_EQ(wav.mid(36, 4), "data");
    EXPECT_EQ(number32(40), 16000U);
    EXPECT_EQ(wav.mid(44), QByteArray(16000, '\0'));
}

TEST_F(StandbyTest, NothingPlaysUntilItIsStarted)
{
    deliverPosted();
    EXPECT_TRUE(players.empty());
    EXPECT_TRUE(journal.isEmpty());
}

TEST_F(StandbyTest, StartingLoopsTheSilenceAtFullVolumeInAnActiveSession)
{
    standby.start();
    EXPECT_EQ(journal, (Journal{u"set category"_s, u"activate"_s}));
    EXPECT_EQ(session.options.toInt(), 13);
    ASSERT_EQ(players.size(), 1U);
    EXPECT_EQ(sound, Standby::silentWAV());
    EXPECT_EQ(players[0]->loops, -1);
    EXPECT_EQ(players[0]->volume, 1);
    EXPECT_TRUE(players[0]->isPrepared);
    EXPECT_TRUE(players[0]->playing);
}

TEST_F(StandbyTest, StartingTwiceMakesOnePlayer)
{
    standby.start();
    standby.start();
    EXPECT_EQ(players.size(), 1U);
}

TEST_F(StandbyTest, StartingTwiceWhileTheSessionIsActivatedMakesOnePlayer)
{
    QPromise<void> connection;
    connection.start();
    session.connected = connection.future();
    const QCoro::Task<> first = standby.start();
    const QCoro::Task<> second = standby.start();
    EXPECT_TRUE(players.empty());
    connection.finish();
    EXPECT_TRUE(waitUntil([&] { return first.isReady() && second.isReady(); }));
    EXPECT_EQ(players.size(), 1U);
}

TEST_F(StandbyTest, OneThatIsGoneWhileTheSessionIsActivatedPlaysNothing)
{
    QPromise<void> connection;
    connection.start();
    session.connected = connection.future();
    auto gone = std::make_unique<Standby>(session, [](const QByteArray &) -> std::unique_ptr<AudioPlayer> {
        ADD_FAILURE() << "a player was made";
        return nullptr;
    });
    const QCoro::Task<> starting = gone->start();
    gone.reset();
    connection.finish();
    EXPECT_TRUE(waitUntil([&] { return starting.isReady(); }));
}

TEST_F(StandbyTest, APlayerThatWasInterruptedIsReplaced)
{
    standby.start();
    players[0]->playing = false;
    standby.start();
    EXPECT_EQ(players.size(), 2U);
}

TEST_F(StandbyTest, TheBeginningOfAnInterruptionChangesNothing)
{
    Q_EMIT session.interruption(Interruption::Began);
    deliverPosted();
    EXPECT_TRUE(players.empty());
}

TEST_F(StandbyTest, TheEndOfAnInterruptionStartsIt)
{
    Q_EMIT session.interruption(Interruption::Ended);
    deliverPosted();
    EXPECT_EQ(players.size(), 1U);
}

TEST_F(StandbyTest, AnInterruptionOfNoTypeStartsIt)
{
    Q_EMIT session.interruption(std::nullopt);
    deliverPosted();
    EXPECT_EQ(players.size(), 1U);
}

TEST_F(StandbyTest, AnObjectThatIsGoneIsNotStarted)
{
    auto gone = std::make_unique<Standby>(session, [](const QByteArray &) -> std::unique_ptr<AudioPlayer> {
        ADD_FAILURE() << "a player was made";
        return nullptr;
    });
    QObject::disconnect(&session, nullptr, &standby, nullptr);
    Q_EMIT session.interruption(Interruption::Ended);
    gone.reset();
    deliverPosted();
}

TEST_F(StandbyTest, ASessionThatCannotBeActivatedLeavesItIdleUntilTheNextTime)
{
    session.activationFailure = Error(u"audio"_s, 1, u"no sound server"_s);
    standby.start();
    EXPECT_TRUE(players.empty());

    session.activationFailure.reset();
    Q_EMIT session.interruption(Interruption::Ended);
    deliverPosted();
    EXPECT_EQ(players.size(), 1U);
}

TEST_F(StandbyTest, ASessionThatCannotBeConfiguredLeavesItIdle)
{
    session.categoryFailure = Error(u"audio"_s, 1, u"no"_s);
    standby.start();
    EXPECT_TRUE(players.empty());
    EXPECT_FALSE(journal.contains(u"activate"));
}

TEST_F(StandbyTest, AFailedRestartLetsThePlayerGo)
{
    standby.start();
    players[0]->playing = false;
    playerFailure = Error(u"audio"_s, 1, u"no"_s);
    standby.start();
    playerFailure.reset();
    standby.start();
    EXPECT_EQ(players.size(), 2U);
}
