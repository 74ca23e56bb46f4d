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

} // namespace kavrin::test
