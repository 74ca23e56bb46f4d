// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SoundCodecs.h"

#include "SoundFiles.h"

#include <QFile>

#include <gmock/gmock.h>

namespace kavrin::test
{

namespace
{

/// Whether this process has loaded the library of libav that encodes.
bool libavIsLoaded()
{
    QFile maps(QStringLiteral("/proc/self/maps"));
    EXPECT_TRUE(maps.open(QIODevice::ReadOnly));
    return maps.readAll().contains("/libavcodec.so");
}

} // namespace

TEST(SoundCodecs, LoadNoLibavUntilTheyAreNeeded)
{
    EXPECT_FALSE(libavIsLoaded());
    SoundCodecs::load();
    EXPECT_TRUE(libavIsLoaded());
}

TEST(SoundCodecs, AreLoadedOnce)
{
    EXPECT_EQ(&SoundCodecs::load(), &SoundCodecs::load());
}

TEST(SoundCodecs, SayWhichModuleCannotBeLoadedAndWhatToDo)
{
    struct Case {
        const char *name;
        QString module;
        const char *reason;
    };
    const std::vector<Case> cases{
        {"missing", QStringLiteral("/nowhere/kavrin_libav.so"), "/nowhere/kavrin_libav.so"},
        {"damaged", fileOf(QStringLiteral("kavrin_libav.so"), "not a library"), "kavrin_libav.so"},
        {"another library", QStringLiteral("libpulse.so.0"), "kavrin_sound_codecs"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        try {
            SoundCodecs::loadFrom(c.module);
            FAIL() << "nothing was thrown";
        } catch (const Error &error) {
            EXPECT_EQ(error.domain, QStringLiteral("audio"));
            EXPECT_THAT(error.localizedDescription.toStdString(),
                        testing::AllOf(testing::StartsWith("Sound can be neither recorded nor played ("),
                                       testing::HasSubstr(c.reason),
                                       testing::HasSubstr("Check that Kavrin")));
        }
    }
}

TEST(SoundCodecs, DecodeASoundInItsOwnFormat)
{
    const Sound sound = SoundCodecs::load().decode(wavOf({0, 0.5, -0.5, 1}, 8000));
    EXPECT_EQ(sound.format.sampleRate, 8000);
    EXPECT_EQ(sound.format.channels, 1);
    EXPECT_THAT(sound.samples,
                testing::ElementsAre(0, testing::AllOf(testing::Ge(16383), testing::Le(16384)),
                                     testing::AllOf(testing::Ge(-16384), testing::Le(-16383)), 32767));
}

TEST(SoundCodecs, DecodeEverySampleOfALongFile)
{
    EXPECT_EQ(SoundCodecs::load().decode(wavOf(std::vector<float>(100003), 8000)).samples.size(), 100003U);
}

TEST(SoundCodecs, DecodeOneSecondOfSilence)
{
    const Sound sound = SoundCodecs::load().decode(wavOf(std::vector<float>(8000), 8000));
    EXPECT_EQ(sound.samples, std::vector<std::int16_t>(8000));
}

TEST(SoundCodecs, RefuseToDecodeWhatIsNoSound)
{
    const QByteArray good = wavOf(tone(440, 0.1, 8000), 8000);
    struct Case {
        const char *name;
        QByteArray bytes;
        const char *reason;
    };
    const char *unreadable = "The file is not a recording that can be read.";
    const std::vector<Case> cases{
        {"nothing", {}, "The file is empty."},
        {"text", "These are not the bytes of a sound.", unreadable},
        {"zeros", QByteArray(1000, '\0'), unreadable},
        {"only the first chunk's name", "RIFF", unreadable},
        {"a header cut off", good.first(20), unreadable},
        {"no samples", wavOf({}, 8000), "There is no sound in the file."},
        {"another container",
         "RIFF\x04\x00\x00\x00"
         "AVI ",
         unreadable},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        try {
            const Sound sound = SoundCodecs::load().decode(c.bytes);
            ADD_FAILURE() << sound.samples.size() << " samples were decoded";
        } catch (const Error &error) {
            EXPECT_EQ(error.domain, QStringLiteral("audio"));
            EXPECT_THAT(error.localizedDescription.toStdString(), testing::StartsWith(c.reason));
        }
    }
}

} // namespace kavrin::test
