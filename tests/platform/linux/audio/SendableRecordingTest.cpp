// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SendableRecording.h"

#include "SoundFiles.h"
#include "platform/Error.h"
#include "platform/linux/audio/SoundCodecs.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <memory>
#include <sys/stat.h>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

constexpr int rate = 16000;

} // namespace

TEST(SendableRecording, IsAnOrdinaryCopyOfAFragmentedOne)
{
    const QByteArray fragmented = unfinishedRecording(tone(440, 3, rate));
    const QString path = fileOf(u"recording.m4a"_s, fragmented);
    const SendableRecording recording(path);
    EXPECT_EQ(contentsOf(recording.path()), SoundCodecs::load().ordinaryMpeg4(fragmented));
    EXPECT_EQ(contentsOf(path), fragmented);
}

TEST(SendableRecording, IsOrdinaryInMemoryAsLongAsItLives)
{
    auto recording = std::make_unique<SendableRecording>(
        fileOf(u"recording.m4a"_s, unfinishedRecording(tone(440, 3, rate))));
    const QString path = recording->path();
    EXPECT_TRUE(QFileInfo::exists(path));
    EXPECT_EQ(QDir::home().entryList(QDir::Files, QDir::Name),
              (QStringList{u"recording.m4a"_s, u"unfinished.m4a"_s}));
    recording.reset();
    EXPECT_FALSE(QFileInfo::exists(path));
}

TEST(SendableRecording, IsAnyOtherFileItself)
{
    const QByteArray ordinary = SoundCodecs::load().ordinaryMpeg4(unfinishedRecording(tone(440, 2, rate)));
    const QByteArray damaged = QByteArray::fromHex("00000010") + "ftypM4A mp42"
        + QByteArray::fromHex("00000010") + "moov" + QByteArray::fromHex("00000008") + "mvex";
    const std::vector<std::pair<const char *, QString>> files = {
        {"an ordinary recording", fileOf(u"ordinary.m4a"_s, ordinary)},
        {"a damaged one", fileOf(u"damaged.m4a"_s, damaged)},
        {"boxes of no length", fileOf(u"zeros.m4a"_s, QByteArray(100, '\0'))},
        {"a sound in another container", fileOf(u"sound.wav"_s, wavOf(tone(440, 1, rate), rate))},
        {"text", fileOf(u"text"_s, "mvex mvex mvex mvex")},
        {"nothing", fileOf(u"nothing"_s, {})},
        {"a folder", QDir::homePath()},
        {"none", u"/nowhere/recording.m4a"_s},
    };
    for (const auto &[name, path] : files) {
        SCOPED_TRACE(name);
        EXPECT_EQ(SendableRecording(path).path(), path);
    }
}

TEST(SendableRecording, RefusesOneWithoutSound)
{
    const QString path = fileOf(u"recording.m4a"_s, unfinishedRecording({}));
    try {
        const SendableRecording recording(path);
        FAIL() << "nothing was thrown";
    } catch (const Error &error) {
        EXPECT_EQ(error.localizedDescription, u"There is no sound in the recording."_s);
    }
}

TEST(SendableRecording, DoesNotTouchAPipe)
{
    const QString path = QDir::home().filePath(u"pipe"_s);
    ASSERT_EQ(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    EXPECT_EQ(SendableRecording(path).path(), path); // a pipe that nobody writes to would not be opened
}

} // namespace kavrin::test
