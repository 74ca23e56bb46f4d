// SPDX-License-Identifier: MIT
#pragma once

#include "dictation/Recorder.h"

#include <QFuture>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QPromise>
#include <QString>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>

namespace kavrin
{

/// How a dictation ended.
struct DictationOutcome {
    double stamp = 0; ///< "tStamp" of its transcript in the shared suite; 0 if it has none there
    QString failure; ///< why it has none, in a line without keys; empty if the user has cancelled it
};

/// A transcription that is running: from the end of its recording until its text is handed over.
struct Transcription {
    quint64 dictation = 0; ///< the number of the dictation that it belongs to
    std::function<void()> tellRecorder; ///< called when it is given up
    bool isGivenUp = false; ///< whatever the service answers is dropped
    bool isHandingOver = false; ///< the text has come, so it is too late to give up
};

/// All dictations of the process: what its recorders record, and what is being transcribed, even if its
/// recorder no longer exists. Main thread only.
class Dictations : public QObject
{
    Q_OBJECT

public:
    /// Every recorder adds itself, for as long as it lives.
    void add(Recorder &recorder);

    /// The recorder that records. Null if there is none.
    [[nodiscard]] Recorder *recording() const;

    /// The recorder that records or is about to. There is never more than one. Null if there is none.
    [[nodiscard]] Recorder *active() const;

    /// The recorder that records, is about to, or has its recording transcribed. Null if there is none, or if
    /// it no longer exists.
    [[nodiscard]] Recorder *busy() const;

    /// The state that matters most to the user: a recording comes before a transcription, and a transcription
    /// before `idle`.
    [[nodiscard]] Recorder::S state() const;

    /// What the process does: "starting", "recording", "working" or "idle", as in docs/shared-suite.md.
    [[nodiscard]] QString activity() const;

    /// A recorder calls this when a dictation begins, and gets its number: 1 for the first one, 2 for the
    /// next.
    quint64 open();

    /// Recorders say here how the dictation with that number ended. What they say first counts.
    void conclude(quint64 number, const DictationOutcome &outcome);

    /// The outcome of a dictation, as soon as there is one. None if there was no such dictation, or if it was
    /// not one of the last few.
    [[nodiscard]] std::optional<QFuture<DictationOutcome>> outcome(quint64 number) const;

    /// The number of the latest dictation. 0 if there was none.
    [[nodiscard]] quint64 latest() const { return m_latest; }

    /// The number of the latest dictation that a command in the shared suite has begun. 0 if there was none.
    [[nodiscard]] quint64 commanded() const { return m_commanded; }
    void setCommanded(quint64 number) { m_commanded = number; }

    /// Recorders say here why the last dictation brought no text, in a line without keys, and forget it when
    /// the next one begins.
    void setFailure(const QString &reason) { m_failure = reason; }

    /// Why the last dictation brought no text. Each failure is returned once. Empty if there is none.
    QString takeFailure() { return std::exchange(m_failure, QString()); }

    /// Recorders call these when a transcription begins, and when its text is handed over or it has failed.
    void begin(const std::shared_ptr<Transcription> &transcription);
    void end(const std::shared_ptr<Transcription> &transcription);
    [[nodiscard]] bool isTranscribing() const { return !m_transcriptions.isEmpty(); }

    /// Gives up all transcriptions. None of them writes or hands over anything from then on. False if there
    /// is none, or if their texts have come already.
    bool giveUpTranscriptions();

    /// From now on, nothing is recorded or transcribed any more, because the application ends. Transcriptions
    /// that have begun go on. The question for the microphone is taken back.
    void close();
    [[nodiscard]] bool isClosed() const { return m_isClosed; }

Q_SIGNALS:
    /// state() or activity() may have changed.
    void stateChanged();
    void hearingChanged(); ///< of the recorder that records

private:
    [[nodiscard]] Recorder *find(bool (*matches)(const Recorder &)) const;

    QList<QPointer<Recorder>> m_recorders;
    QList<std::shared_ptr<Transcription>> m_transcriptions;
    bool m_isClosed = false;
    QString m_failure;
    quint64 m_latest = 0;
    quint64 m_commanded = 0;
    std::map<quint64, QPromise<DictationOutcome>> m_outcomes; ///< of the last few dictations
};

} // namespace kavrin
