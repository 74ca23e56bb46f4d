// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SoundProbe.h"

#include "platform/Error.h"
#include "support/PrivateSoundServer.h"

#include <gmock/gmock.h>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

TEST(SoundProbe, TellsWhichServerAnswers)
{
    PrivateSoundServer server;
    server.start();
    EXPECT_THAT(SoundProbe::load().server().toStdString(), testing::StartsWith("pulseaudio "));
}

TEST(SoundProbe, ThrowsWhereNoServerAnswers)
{
    PrivateSoundServer server;
    EXPECT_THROW(static_cast<void>(SoundProbe::load().server()), Error);
    server.start();
    EXPECT_TRUE(SoundProbe::load().microphone());
    server.freeze();
    EXPECT_THROW(static_cast<void>(SoundProbe::load().microphone()), Error);
}

TEST(SoundProbe, TellsWhetherTheMicrophoneIsMuted)
{
    struct Case {
        QStringList change;
        bool isMuted;
    };
    const Case cases[] = {
        {{u"set-source-mute"_s, u"microphone"_s, u"1"_s}, true},
        {{u"set-source-mute"_s, u"microphone"_s, u"0"_s}, false},
        {{u"set-source-volume"_s, u"microphone"_s, u"0"_s}, true},
    };
    PrivateSoundServer server;
    server.start();
    for (const auto &[change, isMuted] : cases) {
        server.control(change);
        EXPECT_EQ(SoundProbe::load().microphone().value().isMuted, isMuted)
            << change.join(u' ').toStdString();
    }
}

TEST(SoundProbe, TakesTheLoudspeakerForNoMicrophone)
{
    PrivateSoundServer server;
    server.start();
    server.control({u"set-default-source"_s, u"speaker.monitor"_s});
    EXPECT_FALSE(SoundProbe::load().microphone());
}

TEST(SoundProbe, MeasuresSilence)
{
    PrivateSoundServer server;
    server.start();
    EXPECT_EQ(SoundProbe::load().level(), -160);
}

} // namespace

} // namespace kavrin::test
