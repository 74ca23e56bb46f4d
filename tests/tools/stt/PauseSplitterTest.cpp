// SPDX-License-Identifier: MIT
#include "tools/stt/PauseSplitter.h"

#include "tools/stt/SpeechRecognizer.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace kavrin;

namespace
{

constexpr std::size_t second = speechSampleRate;

/// A loud buzz with silent stretches of half a second at these seconds.
std::vector<std::int16_t> speech(std::size_t seconds, std::initializer_list<double> pauses = {})
{
    std::vector<std::int16_t> samples(seconds * second);
    for (std::size_t index = 0; index < samples.size(); ++index) {
        samples[index] = index % 80 < 40 ? 8000 : -8000;
    }
    for (const double pause : pauses) {
        std::fill_n(samples.begin() + static_cast<std::ptrdiff_t>(pause * second), second / 2,
                    std::int16_t{0});
    }
    return samples;
}

TEST(PauseSplitter, LeavesAShortRecordingWhole)
{
    const std::vector<std::int16_t> samples = speech(15, {3, 9});

    EXPECT_EQ(splitAtPauses(samples).size(), 1U);
}

TEST(PauseSplitter, GivesOneEmptyPieceForNothing)
{
    const auto pieces = splitAtPauses({});

    ASSERT_EQ(pieces.size(), 1U);
    EXPECT_TRUE(pieces.front().empty());
}

TEST(PauseSplitter, CutsWithinThePause)
{
    const std::vector<std::int16_t> samples = speech(20, {2, 11});

    const auto pieces = splitAtPauses(samples);

    ASSERT_EQ(pieces.size(), 2U);
    EXPECT_GE(pieces.front().size(), 11 * second);
    EXPECT_LE(pieces.front().size(), 11 * second + second / 2);
}

TEST(PauseSplitter, CutsSpeechWithoutPausesAsWell)
{
    for (const std::span<const std::int16_t> piece : splitAtPauses(speech(100))) {
        EXPECT_LE(piece.size(), 15 * second);
    }
}

TEST(PauseSplitter, LosesNothingBetweenThePieces)
{
    const std::vector<std::int16_t> samples = speech(60, {10, 20.5, 33});

    const std::int16_t *next = samples.data();
    for (const std::span<const std::int16_t> piece : splitAtPauses(samples)) {
        EXPECT_EQ(piece.data(), next);
        next = piece.data() + piece.size();
    }
    EXPECT_EQ(next, samples.data() + samples.size());
}

} // namespace
