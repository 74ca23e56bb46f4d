// SPDX-License-Identifier: MIT
#include "tools/stt/PauseSplitter.h"

#include "tools/stt/SpeechRecognizer.h"

#include <cstddef>

namespace kavrin
{
namespace
{

constexpr std::size_t shortestPiece = std::size_t{8} * speechSampleRate;
constexpr std::size_t longestPiece = std::size_t{15} * speechSampleRate;
constexpr std::size_t pause = speechSampleRate / 3;

std::int64_t energy(std::int16_t sample)
{
    return std::int64_t{sample} * sample;
}

/// The middle of the quietest stretch that is as long as a pause.
std::size_t middleOfQuietest(std::span<const std::int16_t> samples)
{
    std::int64_t inWindow = 0;
    for (const std::int16_t sample : samples.first(pause)) {
        inWindow += energy(sample);
    }
    std::int64_t least = inWindow;
    std::size_t quietest = 0;
    for (std::size_t start = 1; start + pause <= samples.size(); ++start) {
        inWindow += energy(samples[start + pause - 1]) - energy(samples[start - 1]);
        if (inWindow < least) {
            least = inWindow;
            quietest = start;
        }
    }
    return quietest + pause / 2;
}

} // namespace

std::vector<std::span<const std::int16_t>> splitAtPauses(std::span<const std::int16_t> samples)
{
    std::vector<std::span<const std::int16_t>> pieces;
    while (samples.size() > longestPiece) {
        const std::size_t cut =
            shortestPiece + middleOfQuietest(samples.subspan(shortestPiece, longestPiece - shortestPiece));
        pieces.push_back(samples.first(cut));
        samples = samples.subspan(cut);
    }
    pieces.push_back(samples);
    return pieces;
}

} // namespace kavrin
