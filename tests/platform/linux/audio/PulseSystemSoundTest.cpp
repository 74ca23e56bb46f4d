// SPDX-License-Identifier: MIT
#include "platform/linux/audio/PulseSystemSound.h"

#include "SoundFiles.h"
#include "support/PatientRecorder.h"
#include "support/PrivateSoundServer.h"
#include "support/Wait.h"

#include <QDir>

#include <gtest/gtest.h>

namespace kavrin::test
{

namespace
{

constexpr int rate = 16000;

/// How often the samples of a part pass through zero: more often the higher the pitch.
std::ptrdiff_t crossings(std::span<const float> samples)
{
    std::ptrdiff_t count = 0;
    for (std::size_t index = 1; index < samples.size(); ++index) {
        count += (samples[index - 1] < 0) != (samples[index] < 0) ? 1 : 0;
    }
    return count;
}

bool isSpeakerInUse(const PrivateSoundServer &machine)
{
    return !machine.streams(QStringLiteral("sink-inputs")).isEmpty();
}

/// What the microphone hears of a system sound.
std::vector<float> heard(SystemSound::Id sound)
{
    PrivateSoundServer machine;
    machine.start();
    const auto server = std::make_shared<SoundServer>();
    const QString path = QDir::home().filePath(QStringLiteral("heard.m4a"));
    PulseAudioRecorder listener(server, path, AudioRecorderSettings(), patientWithSound);
    listener.setMeteringEnabled(true);
    const auto power = [&] {
        listener.updateMeters();
        return listener.averagePower(0);
    };
    EXPECT_TRUE(await(listener.record()));
    PulseSystemSound(server).play(sound);
    EXPECT_TRUE(waitUntil([&] { return power() > -40; }));
    EXPECT_TRUE(waitUntil([&] { return power() < -100; }));
    EXPECT_TRUE(waitUntil([&] { return !isSpeakerInUse(machine); }));
    listener.stop();
    return withoutSilence(decoded(path));
}

} // namespace

TEST(PulseSystemSound, BeginsWithAShortRisingTone)
{
    const std::vector<float> tone = heard(SystemSound::Id::BeginRecording);
    EXPECT_NEAR(static_cast<double>(tone.size()) / rate, 0.1, 0.05);
    const std::span<const float> samples(tone);
    EXPECT_LT(crossings(samples.first(tone.size() / 2)), crossings(samples.last(tone.size() / 2)));
}

TEST(PulseSystemSound, EndsWithAShortFallingTone)
{
    const std::vector<float> tone = heard(SystemSound::Id::EndRecording);
    EXPECT_NEAR(static_cast<double>(tone.size()) / rate, 0.1, 0.05);
    const std::span<const float> samples(tone);
    EXPECT_GT(crossings(samples.first(tone.size() / 2)), crossings(samples.last(tone.size() / 2)));
}

TEST(PulseSystemSound, ConnectsByItself)
{
    PrivateSoundServer machine;
    machine.start();
    const auto server = std::make_shared<SoundServer>();
    PulseSystemSound(server).play(SystemSound::Id::BeginRecording);
    EXPECT_TRUE(waitUntil([&] { return isSpeakerInUse(machine); }));
}

TEST(PulseSystemSound, IsSilentWhereNoServerRuns)
{
    const PrivateSoundServer machine;
    const auto server = std::make_shared<SoundServer>();
    testing::internal::CaptureStderr();
    PulseSystemSound(server).play(SystemSound::Id::EndRecording);
    EXPECT_THROW(server->connect(), Error);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(PulseSystemSound, MayBeCutOffByTheEndOfTheProgram)
{
    PrivateSoundServer machine;
    machine.start();
    auto server = std::make_shared<SoundServer>();
    server->connect();
    PulseSystemSound(server).play(SystemSound::Id::EndRecording);
    server.reset();
    EXPECT_TRUE(waitUntil([&] { return !isSpeakerInUse(machine); }));
}

} // namespace kavrin::test
