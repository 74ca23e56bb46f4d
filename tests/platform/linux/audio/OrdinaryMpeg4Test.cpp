// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SoundCodecs.h"

#include "SoundFiles.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

constexpr std::size_t rate = 16000;
constexpr std::size_t samplesOfAPacket = 1024;

QByteArray ordinary(const QByteArray &file)
{
    return SoundCodecs::load().ordinaryMpeg4(file);
}

std::vector<float> heard(const QByteArray &file)
{
    return decoded(fileOf(u"heard.m4a"_s, file));
}

} // namespace

TEST(OrdinaryMpeg4, HasOneTableOfAllSamplesBeforeThem)
{
    const QByteArray file = ordinary(unfinishedRecording(tone(440, 10, rate)));
    EXPECT_EQ(file.mid(4, 8), "ftypM4A ");
    EXPECT_EQ(boxes(file).join(u' '), u"ftyp moov free free mdat"_s);
    EXPECT_FALSE(boxes(file, "moov").contains(u"mvex"_s));
    EXPECT_EQ(boxes(file, "stbl").join(u' '), u"stsd stts stsc stsz stco sgpd sbgp"_s);
}

TEST(OrdinaryMpeg4, SoundsExactlyLikeTheFragmentedOne)
{
    for (const double seconds : {2.1, 12.0}) {
        SCOPED_TRACE(seconds);
        const QByteArray fragmented = unfinishedRecording(tone(440, seconds, rate));
        const std::vector<float> samples = heard(fragmented);
        EXPECT_GT(samples.size(), rate);
        EXPECT_EQ(heard(ordinary(fragmented)), samples);
    }
}

TEST(OrdinaryMpeg4, SaysHowLongItTakesToHear)
{
    const QByteArray file = ordinary(unfinishedRecording(tone(440, 12, rate)));
    EXPECT_NEAR(duration(fileOf(u"probed.m4a"_s, file)), double(heard(file).size()) / rate, 0.001);
}

TEST(OrdinaryMpeg4, KeepsEveryWholePacketOfAFileThatWasCutShort)
{
    const QByteArray whole = unfinishedRecording(tone(440, 4.2, rate));
    const std::vector<float> sound = heard(whole);
    const qsizetype table = whole.lastIndexOf("moof");
    const qsizetype packets = whole.lastIndexOf("mdat");
    struct Case {
        const char *name;
        qsizetype size;
        std::size_t fragments; ///< whole ones
    };
    for (const Case &c : std::to_array<Case>({
             {"in the size of a table", table - 1, 2},
             {"in the type of a table", table + 1, 2},
             {"in a table", table + 50, 2},
             {"before the packets", packets - 5, 2},
             {"in the first packet", packets + 10, 2},
             {"in the last packet", whole.size() - 1, 3},
         })) {
        SCOPED_TRACE(c.name);
        const QByteArray cut = whole.first(c.size);
        const std::vector<float> kept = heard(ordinary(cut));
        EXPECT_GE(kept.size(), c.fragments * 16 * samplesOfAPacket - samplesOfAPacket);
        EXPECT_GE(kept.size() + samplesOfAPacket, heard(cut).size());
        EXPECT_TRUE(std::equal(kept.begin(), kept.end(), sound.begin()));
    }
}

TEST(OrdinaryMpeg4, ChangesNoSoundOfAnOrdinaryFile)
{
    const QByteArray file = ordinary(unfinishedRecording(tone(440, 3, rate)));
    EXPECT_EQ(heard(ordinary(file)), heard(file));
}

TEST(OrdinaryMpeg4, IsEmptyWhereNoSoundWasRecorded)
{
    EXPECT_EQ(ordinary(unfinishedRecording({})), QByteArray());
}

TEST(OrdinaryMpeg4, RefusesOtherFiles)
{
    const QByteArray recording = unfinishedRecording(tone(440, 2, rate));
    const std::vector<std::pair<const char *, QByteArray>> files = {
        {"nothing", {}},
        {"text", "These are not the bytes of a sound."},
        {"a sound in another container", wavOf(tone(440, 1, rate), rate)},
        {"half a header", recording.first(100)},
    };
    for (const auto &[name, bytes] : files) {
        SCOPED_TRACE(name);
        EXPECT_THROW(ordinary(bytes), Error);
    }
}

} // namespace kavrin::test
