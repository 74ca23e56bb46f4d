// SPDX-License-Identifier: MIT
#pragma once

#include "platform/AudioRecorder.h"
#include "platform/AudioSession.h"
#include "platform/BackgroundTasks.h"
#include "platform/Clock.h"
#include "platform/Pasteboard.h"
#include "platform/SystemSound.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

namespace kavrin
{

/// Records one dictation at a time, has it transcribed, and hands the text over: in its own properties for a
/// screen, and under the dictation keys of the shared suite and on the pasteboard for the keyboard.
/// Main thread only.
class Recorder : public QObject
{
    Q_OBJECT

public:
    enum class S { idle, recording, working, done };
    Q_ENUM(S)

    /// What a recorder asks of the machine; all of it must outlive the recorder and its last transcription.
    struct Platform {
        AudioSession &session;
        MakeAudioRecorder makeRecorder;
        SystemSound &sounds;
        BackgroundTasks &backgroundTasks;
        Pasteboard &pasteboard;
        Clock &clock;
        /// The text of the audio file at a path. Throws Error.
        std::function<QCoro::Task<QString>(const QString &path)> transcribe;
        /// Told of every failure in the words of `message`, also when the recorder is gone by then.
        std::function<void(const QString &message)> reportFailure = [](const QString &) { };
    };

    explicit Recorder(Platform platform, QObject *parent = nullptr);

    /// After a successful transcription: true returns `state` to idle, false leaves it at done.
    bool autoReset = false;

    [[nodiscard]] S state() const { return m_state; }
    void setState(S state);

    /// A line for a person: what goes on, what went wrong, or the transcript.
    [[nodiscard]] QString message() const { return m_message; }

    /// The input level, 0 to 1, refreshed 20 times a second while recording.
    [[nodiscard]] double level() const { return m_level; }

    /// The one recording file, overwritten by every recording and never deleted.
    static QString url();

    /// Asks for the microphone and records. Resumes when recording runs, or has failed or been refused, which
    /// `message` then says. Does not look at `state`: that is for the caller.
    QCoro::Task<> start();

    /// Ends the recording and has it transcribed. Returns at once; does not look at `state` either. The
    /// transcription completes, and hands its text over, even if this recorder is gone by then.
    void stop();

Q_SIGNALS:
    void stateChanged();
    void messageChanged();
    void levelChanged();

private:
    bool prepare();
    void startMeter();
    void updateMeter();
    void checkRecording();
    void fail(const QString &message);
    void setMessage(const QString &message);
    void setLevel(double level);
    static QCoro::Task<> finish(QPointer<Recorder> recorder, Platform platform,
                                BackgroundTasks::Identifier task);
    static QCoro::Task<QString> handOver(const Platform &platform, QString transcript);

    Platform m_platform;
    S m_state = S::idle;
    QString m_message = QStringLiteral("Starting…");
    double m_level = 0;
    QPointer<QTimer> m_meter;
    std::shared_ptr<AudioRecorder> m_recorder;
};

} // namespace kavrin
