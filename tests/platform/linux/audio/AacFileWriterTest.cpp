// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SoundCodecs.h"

#include "SoundFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gmock/gmock.h>

#include <array>
#include <csignal>
#include <memory>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kavrin::test
{

namespace
{

constexpr std::size_t rate = 16000;

QString recordingPath()
{
    return QDir::home().filePath(QStringLiteral("recording.m4a"));
}

std::unique_ptr<SoundFileWriter> createAac(const QString &path, int sampleRate, int channels)
{
    return SoundCodecs::load().createAac(path, sampleRate, channels);
}

QString written(const std::vector<float> &samples)
{
    const std::unique_ptr<SoundFileWriter> writer = createAac(recordingPath(), rate, 1);
    writer->write(samples);
    writer->finish();
    EXPECT_FALSE(writer->failure());
    return recordingPath();
}

/// No file of this process may grow beyond `bytes`, as on a full disk.
void limitFilesTo(rlim_t bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, RLIM_INFINITY};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

} // namespace

TEST(AacFileWriter, WritesTheRateAndChannelsAskedFor)
{
    struct Case {
        int sampleRate;
        int channels;
        const char *expected;
    };
    for (const Case &c : std::to_array<Case>(
             {{16000, 1, "aac,16000,1"}, {16000, 2, "aac,16000,2"}, {44100, 2, "aac,44100,2"}})) {
        SCOPED_TRACE(c.expected);
        const std::unique_ptr<SoundFileWriter> writer = createAac(recordingPath(), c.sampleRate, c.channels);
        writer->write(std::vector<float>(static_cast<std::size_t>(c.sampleRate * c.channels)));
        writer->finish();
        EXPECT_EQ(probed(recordingPath()), QLatin1String(c.expected));
    }
}

TEST(AacFileWriter, KeepsTheWholeToneAndItsPitch)
{
    for (const double seconds : {0.25, 1.0, 3.1415}) {
        SCOPED_TRACE(seconds);
        const std::vector<float> heard = withoutSilence(decoded(written(tone(440, seconds, rate, 0.5))));
        EXPECT_NEAR(static_cast<double>(heard.size()) / rate, seconds, 0.03);
        EXPECT_GT(shareOf(440, heard, rate), 0.95);
    }
}

TEST(AacFileWriter, DecodesToWhatWasWrittenAndTheEncodersLead)
{
    const std::size_t length = decoded(written(std::vector<float>(3 * rate))).size();
    EXPECT_GE(length, 3U * rate + 1024);
    EXPECT_LE(length, 3U * rate + 2048);
}

TEST(AacFileWriter, KeepsTheHighestSoundsOfSpeech)
{
    EXPECT_GT(shareOf(7400, withoutSilence(decoded(written(tone(7400, 1, rate, 0.5)))), rate), 0.9);
}

TEST(AacFileWriter, TakesSamplesInPiecesOfAnySize)
{
    const std::vector<float> samples = tone(440, 1.1, rate);
    const QByteArray whole = contentsOf(written(samples));
    {
        const std::unique_ptr<SoundFileWriter> writer = createAac(recordingPath(), rate, 1);
        for (std::size_t done = 0; done < samples.size(); done += 333) {
            writer->write(
                std::span(samples).subspan(done, std::min<std::size_t>(333, samples.size() - done)));
        }
        writer->finish();
    }
    EXPECT_EQ(contentsOf(recordingPath()), whole);
}

TEST(AacFileWriter, FinishesAFileWithoutSamples)
{
    EXPECT_EQ(probed(written({})), QStringLiteral("aac,16000,1"));
}

TEST(AacFileWriter, BeginsWithAnOrdinaryBrand)
{
    EXPECT_EQ(contentsOf(written(tone(440, 1, rate))).mid(4, 8), "ftypM4A ");
}

TEST(AacFileWriter, WritesFragmentsUntilTheEndAndLeavesAnOrdinaryFile)
{
    const std::unique_ptr<SoundFileWriter> writer = createAac(recordingPath(), rate, 1);
    writer->write(tone(440, 2.5, rate));
    EXPECT_TRUE(boxes(contentsOf(recordingPath())).contains(QStringLiteral("moof")));
    writer->finish();
    const QByteArray ordinary = contentsOf(recordingPath());
    EXPECT_EQ(boxes(ordinary).join(u' '), QStringLiteral("ftyp moov free free mdat"));
    EXPECT_FALSE(boxes(ordinary, "moov").contains(QStringLiteral("mvex")));
}

TEST(AacFileWriter, SaysHowLongTheRecordingIsWithTheEncodersLead)
{
    for (const double seconds : {0.25, 3.1415}) {
        EXPECT_NEAR(duration(written(tone(440, seconds, rate))), seconds + 1024.0 / rate, 0.001);
    }
}

TEST(AacFileWriter, StaysFragmentedAndWholeWhereThereIsNoPlaceForTheOrdinaryFile)
{
    ASSERT_TRUE(QDir::home().mkdir(QStringLiteral("recording.m4a.new")));
    const QByteArray fragmented = contentsOf(written(tone(440, 2, rate)));
    EXPECT_TRUE(boxes(fragmented).contains(QStringLiteral("moof")));
    EXPECT_GT(decoded(recordingPath()).size(), 2U * rate);
}

TEST(AacFileWriter, ReplacesAnOrdinaryFileThatWasNotFinished)
{
    fileOf(QStringLiteral("recording.m4a.new"), QByteArray(1000000, 'x'));
    const QByteArray ordinary = contentsOf(written(tone(440, 1, rate)));
    EXPECT_FALSE(boxes(ordinary).contains(QStringLiteral("moof")));
    EXPECT_EQ(QDir::home().entryList(QDir::Files), QStringList{QStringLiteral("recording.m4a")});
}

TEST(AacFileWriter, LetsOnlyTheOwnerRead)
{
    umask(0);
    const QString path = written(tone(440, 1, rate));
    struct stat status{};
    ASSERT_EQ(stat(QFile::encodeName(path).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST(AacFileWriter, ReplacesAnEarlierFile)
{
    const QByteArray fresh = contentsOf(written(tone(440, 1, rate)));
    fileOf(QStringLiteral("recording.m4a"), QByteArray(1000000, 'x'));
    EXPECT_EQ(contentsOf(written(tone(440, 1, rate))), fresh);
}

TEST(AacFileWriter, FollowsNoLink)
{
    const QString other = fileOf(QStringLiteral("other"), "precious");
    ASSERT_TRUE(QFile::link(other, recordingPath()));
    written(tone(440, 1, rate));
    EXPECT_EQ(contentsOf(other), "precious");
    EXPECT_FALSE(QFileInfo(recordingPath()).isSymLink());
}

TEST(AacFileWriter, LeavesTheNewFileAloneWhenItsOldOneWasReplaced)
{
    const std::unique_ptr<SoundFileWriter> older = createAac(recordingPath(), rate, 1);
    older->write(tone(440, 2, rate));
    written(tone(880, 1, rate));
    older->finish();
    EXPECT_GT(shareOf(880, withoutSilence(decoded(recordingPath())), rate), 0.95);
}

TEST(AacFileWriter, SaysWhichFileCannotBeMadeAndWhy)
{
    const QString path = QDir::home().filePath(QStringLiteral("missing/recording.m4a"));
    try {
        const std::unique_ptr<SoundFileWriter> writer = createAac(path, rate, 1);
        FAIL() << "nothing was thrown";
    } catch (const Error &error) {
        EXPECT_EQ(error.domain, QStringLiteral("file"));
        EXPECT_THAT(error.localizedDescription.toStdString(), testing::HasSubstr(path.toStdString()));
        EXPECT_THAT(error.localizedDescription.toStdString(),
                    testing::HasSubstr("No such file or directory"));
    }
}

TEST(AacFileWriter, RefusesAFolderInPlaceOfTheFile)
{
    ASSERT_TRUE(QDir::home().mkdir(QStringLiteral("recording.m4a")));
    EXPECT_THROW(createAac(recordingPath(), rate, 1), Error);
}

TEST(AacFileWriter, RefusesFormatsThatCannotBeEncoded)
{
    struct Case {
        int sampleRate;
        int channels;
    };
    for (const Case &c :
         std::to_array<Case>({{0, 1}, {-1, 1}, {123, 1}, {16000, 0}, {16000, -1}, {16000, 99}})) {
        SCOPED_TRACE(testing::Message() << c.sampleRate << " Hz, " << c.channels << " channels");
        EXPECT_THROW(createAac(recordingPath(), c.sampleRate, c.channels), Error);
    }
}

TEST(AacFileWriter, PlaysUpToAnyByteItWasCutAt)
{
    const QByteArray whole = unfinishedRecording(tone(440, 10, rate, 0.5));
    const auto wholeLength = static_cast<double>(decoded(fileOf(QStringLiteral("whole.m4a"), whole)).size());
    for (const double share : {0.3, 0.47, 0.5, 0.731, 0.9, 0.99}) {
        SCOPED_TRACE(share);
        const auto bytes = static_cast<qsizetype>(share * static_cast<double>(whole.size()));
        const QString cut = fileOf(QStringLiteral("cut.m4a"), whole.first(bytes));
        const std::vector<float> heard = decoded(cut);
        // A fragment is a tenth of the file; one whose table was cut off is lost.
        EXPECT_GT(static_cast<double>(heard.size()), (share - 0.12) * wholeLength);
        EXPECT_GT(shareOf(440, withoutSilence(heard), rate), 0.9);
    }
}

TEST(AacFileWriter, LeavesAPlayableFileWhenItIsNeverFinished)
{
    {
        const std::unique_ptr<SoundFileWriter> writer = createAac(recordingPath(), rate, 1);
        writer->write(tone(440, 5, rate));
    }
    EXPECT_GT(decoded(recordingPath()).size(), 3U * rate);
}

TEST(AacFileWriter, IsPlayableFromTheFirstSecondsOnWhileItIsWritten)
{
    const std::unique_ptr<SoundFileWriter> writer = createAac(recordingPath(), rate, 1);
    writer->write(tone(440, 2.5, rate));
    EXPECT_GE(decoded(recordingPath()).size(), 1U * rate);
}

TEST(AacFileWriter, KeepsWhatFittedOnAFullDisk)
{
    limitFilesTo(40000);
    const std::unique_ptr<SoundFileWriter> writer = createAac(recordingPath(), rate, 1);
    writer->write(tone(440, 20, rate));
    writer->finish();
    ASSERT_TRUE(writer->failure());
    EXPECT_THAT(writer->failure()->localizedDescription.toStdString(),
                testing::AllOf(testing::HasSubstr(recordingPath().toStdString()),
                               testing::HasSubstr("File too large")));
    EXPECT_GT(decoded(recordingPath()).size(), 2U * rate);
}

TEST(AacFileWriter, SaysSoWhenNotEvenTheHeaderFits)
{
    limitFilesTo(10);
    EXPECT_THROW(createAac(recordingPath(), rate, 1), Error);
}

TEST(AacFileWriter, HasSoundWhereSamplesWereWritten)
{
    for (const std::size_t samples : {0U, 1U, 1024U, 100000U}) {
        SCOPED_TRACE(samples);
        const std::unique_ptr<SoundFileWriter> writer = createAac(recordingPath(), rate, 1);
        writer->write(std::vector<float>(samples));
        writer->finish();
        EXPECT_EQ(writer->hasSound(), samples > 0);
    }
}

TEST(AacFileWriter, HasNoSoundWhereTheDiskIsFullBeforeTheFirstFragment)
{
    const std::unique_ptr<SoundFileWriter> writer = createAac(recordingPath(), rate, 1);
    limitFilesTo(rlim_t(QFileInfo(recordingPath()).size()));
    writer->write(tone(440, 5, rate));
    writer->finish();
    EXPECT_TRUE(writer->failure());
    EXPECT_FALSE(writer->hasSound());
}

TEST(AacFileWriter, FinishesOnce)
{
    const std::unique_ptr<SoundFileWriter> writer = createAac(recordingPath(), rate, 1);
    writer->write(tone(440, 1, rate));
    writer->finish();
    const QByteArray once = contentsOf(recordingPath());
    writer->finish();
    EXPECT_EQ(contentsOf(recordingPath()), once);
}

} // namespace kavrin::test
