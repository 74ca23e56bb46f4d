// SPDX-License-Identifier: MIT
// Measures the end of a recording: `stop_benchmark SECONDS ROUNDS` prints for each round the milliseconds
// from the last sample of SECONDS of noise to the ordinary MPEG-4 file that can be sent.
#include "platform/linux/audio/SoundCodecs.h"

#include <QDir>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

using namespace kavrin;

namespace
{

constexpr int rate = 16000;
constexpr std::size_t samplesAtOnce = rate / 50;

/// An encoder can leave nothing of it out.
std::vector<float> noise(std::size_t size)
{
    std::minstd_rand chance;
    std::uniform_real_distribution<float> level(-0.3F, 0.3F);
    std::vector<float> samples(size);
    for (float &sample : samples) {
        sample = level(chance);
    }
    return samples;
}

double millisecondsToFinish(const std::vector<float> &samples)
{
    using Milliseconds = std::chrono::duration<double, std::milli>;
    const auto writer =
        SoundCodecs::load().createAac(QDir::home().filePath(QStringLiteral("dict.m4a")), rate, 1);
    for (std::size_t begin = 0; begin < samples.size(); begin += samplesAtOnce) {
        writer->write(std::span(samples).subspan(begin, samplesAtOnce));
    }
    const auto begun = std::chrono::steady_clock::now();
    writer->finish();
    return Milliseconds(std::chrono::steady_clock::now() - begun).count();
}

} // namespace

int main(int /*argc*/, char **argv)
{
    const std::vector<float> samples = noise(samplesAtOnce * 50 * std::strtoul(argv[1], nullptr, 10));
    for (int round = std::atoi(argv[2]); round > 0; --round) {
        std::printf("%.3f\n", millisecondsToFinish(samples));
    }
    return 0;
}
