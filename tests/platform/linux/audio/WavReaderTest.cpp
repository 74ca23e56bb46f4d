// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SoundCodecs.h"

#include "SoundFiles.h"

#include <QFile>

#include <gtest/gtest.h>

namespace kavrin::test
{

namespace
{

Sound readWav(const QByteArray &wav)
{
    return SoundCodecs::load().readWav(wav);
}

} // namespace

TEST(WavReader, ReadsRateChannelsAndSamples)
{
    const Sound sound = readWav(wavOf({0, 0.5, -0.5, 1}, 8000));
    EXPECT_EQ(sound.sampleRate, 8000);
    EXPECT_EQ(sound.channels, 1);
    ASSERT_EQ(sound.samples.size(), 4U);
    EXPECT_FLOAT_EQ(sound.samples[0], 0);
    EXPECT_NEAR(sound.samples[1], 0.5, 0.001);
    EXPECT_NEAR(sound.samples[2], -0.5, 0.001);
    EXPECT_NEAR(sound.samples[3], 1, 0.001);
}

TEST(WavReader, ReadsEverySampleOfALongFile)
{
    EXPECT_EQ(readWav(wavOf(std::vector<float>(100003), 8000)).samples.size(), 100003U);
}

TEST(WavReader, ReadsOneSecondOfSilence)
{
    const Sound sound = readWav(wavOf(std::vector<float>(8000), 8000));
    EXPECT_EQ(sound.samples, std::vector<float>(8000));
}

TEST(WavReader, ReadsARecordingOfSomebodyElses)
{
    QFile file(QStringLiteral("/usr/share/pocketsphinx/test/data/cards/001.wav"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const Sound sound = readWav(file.readAll());
    EXPECT_EQ(sound.sampleRate, 16000);
    EXPECT_GT(sound.samples.size(), 16000U);
}

TEST(WavReader, RefusesWhatIsNoSound)
{
    const QByteArray good = wavOf(tone(440, 0.1, 8000), 8000);
    struct Case {
        const char *name;
        QByteArray bytes;
    };
    const std::vector<Case> cases{
        {"nothing", {}},
        {"text", "These are not the bytes of a sound."},
        {"zeros", QByteArray(1000, '\0')},
        {"only the first chunk's name", "RIFF"},
        {"a header cut off", good.first(20)},
        {"no samples", wavOf({}, 8000)},
        {"another container",
         "RIFF\x04\x00\x00\x00"
         "AVI "},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_THROW(readWav(c.bytes), Error);
    }
}

TEST(WavReader, SaysWhatIsWrongInWords)
{
    try {
        readWav("rubbish");
        FAIL() << "nothing was thrown";
    } catch (const Error &error) {
        EXPECT_EQ(error.domain, QStringLiteral("audio"));
        EXPECT_TRUE(error.localizedDescription.startsWith(QStringLiteral("The sound cannot be played: ")));
    }
}

} // namespace kavrin::test
