// SPDX-License-Identifier: MIT
#include "platform/linux/audio/libav/SoundDecoder.h"

#include "support/Recordings.h"

#include <gmock/gmock.h>

#include <cstring>
#include <initializer_list>
#include <random>

using namespace kavrin;
using namespace kavrin::test;

namespace
{

constexpr int headerOfWav = 44;
constexpr int toneInHertz = 1000;
constexpr SoundFormat speech{.sampleRate = 16000, .channels = 1};

QStringList split(const char *arguments)
{
    return QString::fromLatin1(arguments).split(u' ', Qt::SkipEmptyParts);
}

/// Two seconds of a tone, encoded with these ffmpeg arguments.
QByteArray tone(const char *arguments, const char *suffix)
{
    return ffmpeg(split("-f lavfi -i sine=frequency=1000:sample_rate=48000:duration=2") + split(arguments),
                  QString::fromLatin1(suffix));
}

std::vector<std::int16_t> decodeSpeech(const QByteArray &file)
{
    return decodeSound(view(file), speech).samples;
}

double seconds(const std::vector<std::int16_t> &samples)
{
    return static_cast<double>(samples.size()) / speech.sampleRate;
}

/// The frequency of a tone in the middle of the samples, from the number of its zero crossings.
double frequency(const std::vector<std::int16_t> &samples)
{
    const std::size_t start = samples.size() / 4;
    const std::size_t end = samples.size() - start;
    int crossings = 0;
    for (std::size_t index = start + 1; index < end; ++index) {
        crossings += (samples[index - 1] < 0) != (samples[index] < 0) ? 1 : 0;
    }
    return crossings / 2.0 * speech.sampleRate / static_cast<double>(end - start);
}

/// What checkSound() says.
std::string fault(const QByteArray &file)
{
    try {
        checkSound(view(file));
    } catch (const Error &error) {
        return error.what();
    }
    return "sound";
}

std::string refusal(const QByteArray &file)
{
    try {
        decodeSpeech(file);
    } catch (const Error &error) {
        return error.what();
    }
    return "decoded";
}

struct Encoding {
    const char *name;
    const char *arguments;
    const char *suffix;
};

void PrintTo(const Encoding &encoding, std::ostream *stream)
{
    *stream << encoding.name;
}

class SoundDecoderEncodings : public testing::TestWithParam<Encoding>
{
};

TEST_P(SoundDecoderEncodings, GiveTheSameSoundAtTheSpeechRate)
{
    const QByteArray file = tone(GetParam().arguments, GetParam().suffix);
    EXPECT_EQ(fault(file), "sound");
    const std::vector<std::int16_t> samples = decodeSpeech(file);

    // Lossy coding fills up its first and last frame.
    EXPECT_NEAR(seconds(samples), 2, 0.15);
    EXPECT_NEAR(frequency(samples), toneInHertz, 5);
}

INSTANTIATE_TEST_SUITE_P(
    SoundDecoder, SoundDecoderEncodings,
    testing::Values(
        Encoding{"AacInMpeg4", "-c:a aac -ar 16000 -b:a 32k", "m4a"},
        Encoding{"AacInFragmentedMpeg4",
                 "-c:a aac -ar 16000 -b:a 32k -movflags frag_keyframe+empty_moov -frag_duration 200000",
                 "m4a"},
        Encoding{"BareAac", "-c:a aac -b:a 64k", "aac"}, Encoding{"Wav", "-ar 16000", "wav"},
        Encoding{"WavInStereoAt44100", "-ar 44100 -ac 2", "wav"},
        Encoding{"WavWithEightBitsAt8000", "-ar 8000 -c:a pcm_u8", "wav"},
        Encoding{"WavOfFloats", "-c:a pcm_f32le", "wav"}, Encoding{"Mp3", "-b:a 64k", "mp3"},
        Encoding{"Flac", "", "flac"}, Encoding{"OpusInOgg", "-c:a libopus", "ogg"},
        Encoding{"VorbisInOgg", "-c:a libvorbis", "ogg"}, Encoding{"OpusInWebM", "-c:a libopus", "webm"},
        Encoding{"SoundOfAFilm", "-f lavfi -i testsrc=duration=2:size=64x64 -c:v mpeg4 -c:a aac", "mp4"}),
    [](const testing::TestParamInfo<Encoding> &info) { return std::string(info.param.name); });

TEST(SoundDecoder, GivesTheSamplesOfASpeechRateWavUnchanged)
{
    const QByteArray file = readFile(proseRecording().path);
    std::vector<std::int16_t> expected(static_cast<std::size_t>(file.size() - headerOfWav)
                                       / sizeof(std::int16_t));
    std::memcpy(expected.data(), file.constData() + headerOfWav, expected.size() * sizeof(std::int16_t));

    EXPECT_EQ(decodeSpeech(file), expected);
}

TEST(SoundDecoder, KeepsTheFormatOfTheFileWhereNoneIsWanted)
{
    const Sound sound = decodeSound(view(tone("-ar 44100 -ac 2", "wav")));

    EXPECT_EQ(sound.format.sampleRate, 44100);
    EXPECT_EQ(sound.format.channels, 2);
    EXPECT_EQ(sound.samples.size(), 2U * 2 * 44100);
}

TEST(SoundDecoder, MixesChannelsIntoOne)
{
    const QByteArray silenceRight = tone("-af pan=stereo|c0=c0|c1=0*c0 -ar 16000", "wav");

    EXPECT_NEAR(frequency(decodeSpeech(silenceRight)), toneInHertz, 5);
}

TEST(SoundDecoder, GivesTheBeginningOfAWavCutShort)
{
    const QByteArray file = readFile(proseRecording().path);

    const auto samples = decodeSpeech(file.left(headerOfWav + 3 * 2 * speech.sampleRate));

    EXPECT_NEAR(seconds(samples), 3, 0.1);
}

TEST(SoundDecoder, GivesTheBeginningOfAFragmentedMpeg4CutShort)
{
    const QByteArray file = tone("-c:a aac -movflags frag_keyframe+empty_moov -frag_duration 200000", "m4a");

    const auto samples = decodeSpeech(file.left(file.size() / 2));

    EXPECT_GT(seconds(samples), 0.5);
    EXPECT_LT(seconds(samples), 1.5);
}

TEST(SoundDecoder, RefusesAnMpeg4CutShort)
{
    const QByteArray file = tone("-c:a aac", "m4a");

    EXPECT_THAT(refusal(file.left(file.size() / 2)), testing::HasSubstr("not a recording that can be read"));
}

TEST(SoundDecoder, SurvivesAFileCutAnywhere)
{
    for (const QByteArray &file :
         {tone("-c:a aac -ar 16000 -b:a 32k -movflags faststart", "m4a"),
          tone("-c:a aac -ar 16000 -b:a 32k -movflags frag_keyframe+empty_moov", "m4a")}) {
        for (qsizetype size = 0; size < file.size(); size += 53) {
            EXPECT_NO_FATAL_FAILURE(refusal(file.left(size)));
        }
    }
}

TEST(SoundDecoder, SurvivesDamagedBytes)
{
    const QByteArray file = tone("-c:a aac -ar 16000 -b:a 32k", "m4a");
    std::minstd_rand random(1);
    for (int round = 0; round < 100; ++round) {
        QByteArray damaged = file;
        for (int change = 0; change < 20; ++change) {
            damaged[static_cast<qsizetype>(random() % static_cast<unsigned>(file.size()))] =
                static_cast<char>(random() & 0xff);
        }
        EXPECT_NO_FATAL_FAILURE(refusal(damaged));
    }
}

TEST(SoundDecoder, GivesNothingForARecordingWithoutSamples)
{
    EXPECT_TRUE(decodeSpeech(readFile(proseRecording().path).left(headerOfWav)).empty());
}

TEST(SoundDecoder, RefusesAnEmptyFile)
{
    EXPECT_EQ(refusal({}), "The file is empty.");
}

TEST(SoundDecoder, RefusesWhatIsNoRecording)
{
    std::minstd_rand random(1);
    QByteArray rubbish(100'000, Qt::Uninitialized);
    for (char &byte : rubbish) {
        byte = static_cast<char>(random() & 0xff);
    }
    for (const QByteArray &file : {rubbish, QByteArray("hello"), QByteArray(5000, '\0')}) {
        EXPECT_THAT(refusal(file), testing::HasSubstr("not a recording that can be read"));
    }
}

TEST(SoundDecoder, RefusesAFilmWithoutSound)
{
    const QByteArray film =
        ffmpeg(split("-f lavfi -i testsrc=duration=1:size=64x64 -c:v mpeg4"), QStringLiteral("mp4"));

    EXPECT_EQ(refusal(film), "There is no sound in the file.");
}

TEST(SoundDecoder, FindsSoundInContainersThatItDoesNotDecode)
{
    for (const char *suffix : {"aiff", "au", "caf", "w64", "avi", "mpg", "ts", "wma"}) {
        SCOPED_TRACE(suffix);
        EXPECT_EQ(fault(tone("", suffix)), "sound");
    }
}

TEST(SoundDecoder, FindsSoundInARecordingThatWasCutShort)
{
    const QByteArray file = tone("-c:a aac -movflags frag_keyframe+empty_moov -frag_duration 200000", "m4a");
    EXPECT_EQ(fault(file.left(file.size() / 2)), "sound");
}

TEST(SoundDecoder, FindsNoSoundInOtherFiles)
{
    std::minstd_rand random(1);
    QByteArray rubbish(1'000'000, Qt::Uninitialized);
    for (char &byte : rubbish) {
        byte = static_cast<char>(random() & 0xff);
    }
    const QByteArray film =
        ffmpeg(split("-f lavfi -i testsrc=duration=1:size=64x64 -c:v mpeg4"), QStringLiteral("mp4"));
    const QByteArray picture =
        ffmpeg(split("-f lavfi -i testsrc=duration=1:size=64x64 -frames:v 1"), QStringLiteral("mjpeg"));
    const QByteArray framesOfMp3 = QByteArray("\xff\xfb\x90\x64" + QByteArray(413, 'x')).repeated(2);
    const QByteArray notes =
        QByteArray("text\n").repeated(20) + framesOfMp3 + QByteArray("text\n").repeated(100);
    const QByteArray program = readFile(QStringLiteral("/proc/self/exe"));
    for (const QByteArray &file : {readFile(QStringLiteral("/etc/passwd")), rubbish, film, picture, program,
                                   notes, QByteArray(), QByteArray(5000, '\0'), QByteArray(5000, '\xff'),
                                   readFile(proseRecording().path).left(headerOfWav)}) {
        EXPECT_NE(fault(file), "sound");
    }
}

TEST(SoundDecoder, NeverOpensAnotherFileThatAPlaylistNames)
{
    const QByteArray path = proseRecording().path.toUtf8();
    for (const QByteArray &playlist :
         {QByteArray("#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:7,\nfile://" + path + "\n#EXT-X-ENDLIST\n"),
          QByteArray("ffconcat version 1.0\nfile '" + path + "'\n")}) {
        EXPECT_THAT(refusal(playlist), testing::HasSubstr("not a recording that can be read"));
    }
}

TEST(SoundDecoder, RefusesMoreThanAnHour)
{
    const QByteArray file =
        ffmpeg(split("-f lavfi -i anullsrc=sample_rate=1000:channel_layout=mono -t 3601 -c:a pcm_u8"),
               QStringLiteral("wav"));

    EXPECT_THAT(refusal(file), testing::HasSubstr("longer than one hour"));
}

} // namespace
