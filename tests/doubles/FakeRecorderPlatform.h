// SPDX-License-Identifier: MIT
#pragma once

#include "dictation/Dictations.h"
#include "dictation/Recorder.h"
#include "doubles/FakeAudio.h"
#include "doubles/FakeClock.h"
#include "doubles/FakeDesktop.h"

#include <QCoroFuture>
#include <QFuture>
#include <QPromise>

namespace kavrin::test
{

/// A machine on which a recorder works, with a journal of what it was asked, and a transcription that ends
/// when the test says so.
class FakeRecorderPlatform
{
public:
    Journal journal;
    Dictations dictations;
    FakeAudioSession session{journal};
    FakeSystemSound sounds{journal};
    FakeBackgroundTasks backgroundTasks{journal};
    FakePasteboard pasteboard{journal};
    FakeClock clock;
    std::optional<Error> recorderFailure;
    std::vector<std::weak_ptr<FakeAudioRecorder>> recorders;
    QStringList openedFiles;
    QStringList failures; ///< that were reported
    bool isLastKept = false; ///< the recording of the last one
    std::vector<AudioRecorderSettings> settings;
    std::optional<QFuture<void>> firstSamples; ///< of every recorder

    Recorder::Platform platform()
    {
        return {
            .dictations = dictations,
            .session = session,
            .makeRecorder =
                [this](const QString &path, const AudioRecorderSettings &wanted) {
                    return makeRecorder(path, wanted);
                },
            .sounds = sounds,
            .backgroundTasks = backgroundTasks,
            .pasteboard = pasteboard,
            .clock = clock,
            .transcribe = [this](const QString &path) { return transcribe(path); },
            .reportFailure =
                [this](const QString &message, bool isKept) {
                    failures.append(message);
                    isLastKept = isKept;
                },
        };
    }

    /// Ends the transcription that is under way.
    void finishTranscription(const QString &text)
    {
        m_text = text;
        m_transcription.finish();
    }

    void failTranscription(const Error &error)
    {
        m_failure = error;
        m_transcription.finish();
    }

private:
    std::shared_ptr<AudioRecorder> makeRecorder(const QString &path, const AudioRecorderSettings &wanted)
    {
        journal.append(QStringLiteral("open"));
        openedFiles.append(path);
        settings.push_back(wanted);
        if (recorderFailure) {
            throw Error(*recorderFailure);
        }
        auto recorder = std::make_shared<FakeAudioRecorder>(journal);
        recorder->firstSamples = firstSamples;
        recorders.push_back(recorder);
        return recorder;
    }

    QCoro::Task<QString> transcribe(QString path)
    {
        journal.append(QStringLiteral("transcribe ") + path.section(u'/', -1));
        m_failure.reset();
        m_transcription = QPromise<void>();
        m_transcription.start();
        const QFuture<void> future = m_transcription.future();
        co_await qCoro(future).waitForFinished();
        if (m_failure) {
            throw Error(*m_failure);
        }
        co_return m_text;
    }

    QPromise<void> m_transcription;
    QString m_text;
    std::optional<Error> m_failure;
};

} // namespace kavrin::test
