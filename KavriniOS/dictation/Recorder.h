// SPDX-License-Identifier: MIT
#pragma once

#include "platform/AudioRecorder.h"
#include "platform/AudioSession.h"
#include "platform/BackgroundTasks.h"
#include "platform/Clock.h"
#include "platform/Pasteboard.h"
#include "platform/SystemSound.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <stop_token>

namespace kavrin
{

class Dictations;
struct Transcription;

/// Records one dictation at a time and transcribes it. It hands the text over to a screen in its own
/// properties, and to the keyboard under the dictation keys of the shared suite and on the pasteboard. Main
/// thread only.
class Recorder : public QObject
{
    Q_OBJECT

public:
    enum class S { idle, recording, working, done };
    Q_ENUM(S)

    /// What comes from the microphone.
    enum class Hearing {
        Sound, ///< or a silence of less than three seconds, or the recording has failed, or there is none
        Nothing,
        Muted, ///< nothing, because the user has muted it
    };

    /// What a recorder needs from the machine. All of it must outlive the recorder and its last
    /// transcription.
    struct Platform {
        Dictations &dictations;
        AudioSession &session;
        MakeAudioRecorder makeRecorder;
        SystemSound &sounds;
        BackgroundTasks &backgroundTasks;
        Pasteboard &pasteboard;
        Clock &clock;
        /// The text of the audio file at a path. Throws Error.
        std::function<QCoro::Task<QString>(const QString &path)> transcribe;
        /// What the keyboard may show of a message: a short line without keys.
        std::function<QString(const QString &message)> line = [](const QString &message) { return message; };
        /// Gets every failure in the words of `message`, even if the recorder no longer exists, and whether
        /// DictationBridge::again() can send its recording again.
        std::function<void(const QString &message, bool isKept)> reportFailure = [](const QString &, bool) {
        };
        /// Ends every call of `transcribe` that is running, which then throws Error.
        std::function<void()> endTranscriptions = [] { };
    };

    explicit Recorder(Platform platform, QObject *parent = nullptr);

    /// Ends a recording, or the start of one, without a transcript: nothing records any more, and the
    /// question for the microphone is taken back.
    ~Recorder() override;

    /// The state after a successful transcription: idle if true, done if false.
    bool autoReset = false;

    [[nodiscard]] S state() const { return m_state; }
    void setState(S state);

    /// Whether start() has not resumed yet.
    [[nodiscard]] bool isStarting() const { return m_isStarting; }

    /// A line for the user: what happens, what went wrong, or the transcript.
    [[nodiscard]] QString message() const { return m_message; }

    /// Whether `message` says what went wrong.
    [[nodiscard]] bool hasFailed() const { return m_hasFailed; }

    /// The input level, 0 to 1, refreshed 20 times a second while recording.
    [[nodiscard]] double level() const { return m_level; }

    [[nodiscard]] Hearing hearing() const { return m_hearing; }

    /// The path of the only recording file. Every recording overwrites it, and nothing deletes it.
    static QString url();

    /// Asks for the microphone and records. Resumes when the recording runs, or when it has failed or the
    /// user has refused it; `message` then says so. The caller must check `state` first. It fails while
    /// another recorder records. While anything is transcribed, it records nothing and only says so.
    QCoro::Task<> start();

    /// Ends the recording and transcribes it, unless it holds no sound. Returns at once. The caller must
    /// check `state` and isStarting() first. While start() asks for the microphone, takes the question back;
    /// after that, the recording ends as soon as it runs. The transcription completes and hands its text
    /// over, even if this recorder no longer exists.
    void stop();

    /// Ends the recording, or the start of one, and transcribes nothing. The file keeps what was recorded.
    /// Returns at once. The caller must check `state` and isStarting() first.
    void cancel();

    /// Transcribes a recording of KeptRecordings as stop() does, and removes it once a text has come. Returns
    /// at once. The caller must check `state` and isStarting() first.
    void transcribeAgain(const QString &path);

    /// `message` after a dictation that was given up.
    static QString cancelled() { return QStringLiteral("The dictation was cancelled."); }

    /// `message` after a start during a transcription, whose text would replace that of the new recording or
    /// be replaced by it.
    static QString stillTranscribing()
    {
        return QStringLiteral("The last dictation is still being transcribed.");
    }

Q_SIGNALS:
    void stateChanged();
    void startingChanged();
    void messageChanged();
    void levelChanged();
    void hearingChanged();

private:
    enum class End { None, Stop, Cancel };

    /// What is transcribed.
    struct Recording {
        QString path;
        QByteArray contents; ///< kept if the transcription fails
        bool isKept = false; ///< already
        std::optional<Error> emptiness; ///< why there is nothing to transcribe
    };

    [[nodiscard]] std::optional<Error> obstacle() const;
    QCoro::Task<> begin();
    void endStart(End end);
    QCoro::Task<bool> prepare();
    void endRecording();
    void giveUp();
    void settle(S state, const QString &message, bool isFailure = false);
    void startMeter();
    void updateMeter();
    void updateHearing();
    void setHearing(Hearing hearing);
    void checkRecording();
    [[nodiscard]] std::optional<Error> emptiness() const;
    void beginTranscription(Recording recording);
    void fail(const QString &code, const QString &message);
    void setStarting(bool starting);
    void setMessage(const QString &message, bool isFailure = false);
    void setLevel(double level);
    static QCoro::Task<> finish(QPointer<Recorder> recorder, Platform platform,
                                std::shared_ptr<Transcription> transcription, Recording recording);
    /// What a transcription has come to.
    struct Outcome {
        bool isDone = false; ///< a text came
        double stamp = 0; ///< of the text in the shared suite; 0 if it is not there
        QString message; ///< the text, or why there is none
        QString failure; ///< what went wrong, also after a text came; empty if nothing did
        QString code; ///< of the failure, if no text came
        bool isKept = false; ///< the recording
    };
    static bool keepIfFailed(const Recording &recording, const Outcome &outcome);
    static void conclude(Recorder *recorder, const Platform &platform, quint64 dictation,
                         const Outcome &outcome);
    static QCoro::Task<Outcome> handOver(const Platform &platform, QString transcript);

    Platform m_platform;
    quint64 m_dictation = 0; ///< the number of the last one
    S m_state = S::idle;
    bool m_isStarting = false;
    End m_end = End::None; ///< wanted before the recording runs
    std::stop_source m_question; ///< for the microphone
    QString m_message = QStringLiteral("Starting…");
    bool m_hasFailed = false;
    double m_level = 0;
    Hearing m_hearing = Hearing::Sound;
    QElapsedTimer m_silence; ///< since the last sound
    QPointer<QTimer> m_meter;
    std::shared_ptr<AudioRecorder> m_recorder;
};

} // namespace kavrin
