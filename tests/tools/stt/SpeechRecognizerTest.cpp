// SPDX-License-Identifier: MIT
#include "tools/stt/SpeechRecognizer.h"

#include "platform/linux/audio/libav/SoundDecoder.h"
#include "support/Recordings.h"
#include "tools/stt/PauseSplitter.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <numeric>

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

namespace
{

constexpr const char *model = KAVRIN_SPEECH_MODEL;

std::vector<std::int16_t> decoded(const QByteArray &file)
{
    return decodeSound(view(file), SoundFormat{.sampleRate = speechSampleRate, .channels = 1}).samples;
}

std::vector<std::int16_t> samplesOf(const Recording &recording)
{
    return decoded(readFile(recording.path));
}

QStringList words(const QString &text)
{
    return text.split(u' ', Qt::SkipEmptyParts);
}

/// The least number of words to substitute, remove or insert to turn one text into the other.
qsizetype wordErrors(const QStringList &spoken, const QStringList &heard)
{
    std::vector<qsizetype> row(static_cast<std::size_t>(heard.size()) + 1);
    std::iota(row.begin(), row.end(), 0);
    for (qsizetype removed = 1; removed <= spoken.size(); ++removed) {
        qsizetype diagonal = std::exchange(row[0], removed);
        for (std::size_t column = 1; column < row.size(); ++column) {
            const bool same = spoken[removed - 1] == heard[static_cast<qsizetype>(column) - 1];
            const qsizetype substituted = diagonal + (same ? 0 : 1);
            diagonal = row[column];
            row[column] = std::min({substituted, row[column] + 1, row[column - 1] + 1});
        }
    }
    return row.back();
}

/// A recording as Kavrin uploads it.
QByteArray coded(const Recording &recording)
{
    return ffmpeg({u"-i"_s, recording.path, u"-c:a"_s, u"aac"_s, u"-b:a"_s, u"32k"_s}, u"m4a"_s);
}

/// Errors for each spoken word over all recordings.
double wordErrorRate()
{
    SpeechRecognizer recognizer(QString::fromLatin1(model));
    qsizetype errors = 0;
    qsizetype spoken = 0;
    for (const Recording &recording : proseRecordings()) {
        const QString text = recognizer.recognize(decoded(coded(recording)));
        errors += wordErrors(words(recording.spoken), words(text));
        spoken += words(recording.spoken).size();
    }
    return static_cast<double>(errors) / static_cast<double>(spoken);
}

TEST(SpeechRecognizer, UnderstandsMostWordsOfSpeechCodedForUpload)
{
    EXPECT_LT(wordErrorRate(), 0.30);
}

TEST(SpeechRecognizer, AnswersTheSameWhateverItHeardBefore)
{
    SpeechRecognizer recognizer(QString::fromLatin1(model));
    const std::vector<std::int16_t> clip = samplesOf(shortRecording());
    const QString first = recognizer.recognize(clip);

    recognizer.recognize(samplesOf(otherShortRecording()));

    EXPECT_EQ(recognizer.recognize(clip), first);
}

TEST(SpeechRecognizer, HearsNothingInSilence)
{
    SpeechRecognizer recognizer(QString::fromLatin1(model));
    for (const std::size_t length : {0U, 1U, 100U, 16000U, 320000U}) {
        SCOPED_TRACE(length);
        EXPECT_EQ(recognizer.recognize(std::vector<std::int16_t>(length)), QString());
    }
}

TEST(SpeechRecognizer, JoinsThePiecesOfALongRecordingByABlank)
{
    SpeechRecognizer recognizer(QString::fromLatin1(model));
    std::vector<std::int16_t> recording = samplesOf(shortRecording());
    recording.resize(std::size_t{12} * speechSampleRate); // silence, in which it is cut
    const std::vector<std::int16_t> next = samplesOf(otherShortRecording());
    recording.insert(recording.end(), next.begin(), next.end());
    ASSERT_EQ(splitAtPauses(recording).size(), 2U);

    EXPECT_EQ(recognizer.recognize(recording), shortRecording().spoken + u' ' + otherShortRecording().spoken);
}

TEST(SpeechRecognizer, StopsWhenToldTo)
{
    SpeechRecognizer recognizer(QString::fromLatin1(model));
    const std::stop_source stop;
    stop.request_stop();

    EXPECT_THROW(recognizer.recognize(samplesOf(proseRecording()), stop.get_token()), RecognitionStopped);
}

TEST(SpeechRecognizer, SaysWhichModelIsMissing)
{
    try {
        const SpeechRecognizer recognizer(QStringLiteral("/nowhere/en-us"));
        FAIL() << "loaded";
    } catch (const std::runtime_error &error) {
        EXPECT_STREQ(error.what(),
                     "The speech model is missing: there is no /nowhere/en-us/en-us. "
                     "Install the package pocketsphinx-en-us.");
    }
}

} // namespace
