// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SoundLevel.h"

#include "SoundFiles.h"

#include <gtest/gtest.h>

namespace kavrin::test
{

TEST(SoundLevel, IsTheMeanPowerInDecibels)
{
    struct Case {
        const char *name;
        std::vector<float> samples;
        float power;
    };
    const std::vector<Case> cases{
        {"silence", {0, 0, 0}, -160},
        {"a full-scale tone", tone(440, 1, 16000), -3.0103F},
        {"a tone of half the amplitude", tone(440, 1, 16000, 0.5), -9.0309F},
        {"a full-scale square", {1, -1, 1, -1}, 0},
        {"quieter than can be told", {1e-12F}, -160},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        SoundLevel level(1);
        level.add(c.samples);
        const std::vector<float> power = level.take();
        ASSERT_EQ(power.size(), 1U);
        EXPECT_NEAR(power[0], c.power, 0.01);
    }
}

TEST(SoundLevel, TellsChannelsApart)
{
    SoundLevel level(2);
    level.add(std::vector<float>{1, 0, -1, 0});
    EXPECT_EQ(level.take(), (std::vector<float>{0, -160}));
}

TEST(SoundLevel, BeginsAnewAfterEachLook)
{
    SoundLevel level(1);
    level.add(std::vector<float>{1, 1});
    level.take();
    level.add(std::vector<float>{0, 0});
    EXPECT_EQ(level.take(), std::vector<float>{-160});
}

TEST(SoundLevel, SaysNothingWhereNothingCame)
{
    EXPECT_TRUE(SoundLevel(1).take().empty());
}

} // namespace kavrin::test
