// SPDX-License-Identifier: MIT
#pragma once

#include "dictation/Recorder.h"

#include <QtQml/qqmlregistration.h>

namespace kavrin
{

/// One presentation of the dictation screen. It has a recorder of its own, which keeps the transcript on the
/// screen. Destroying the model during a recording ends the recording without a sound and without a
/// transcript. A transcription that is running completes and hands its text over.
///
/// If another recorder records when the screen opens, or begins to do so later, the screen shows and stops
/// that recording, and leaves it running when it closes. If another one's recording is transcribed when the
/// screen opens, it shows that. Main thread only.
class DictateModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by a DictateModelFactory")
    // The state of the recorder that is shown. All of these are false while it is idle or starts.
    Q_PROPERTY(bool recording READ isRecording NOTIFY stateChanged)
    Q_PROPERTY(bool working READ isWorking NOTIFY stateChanged)
    Q_PROPERTY(bool done READ isDone NOTIFY stateChanged)
    /// What happens, what went wrong, or the transcript.
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)
    /// Whether the message says what went wrong.
    Q_PROPERTY(bool failed READ hasFailed NOTIFY messageChanged)
    /// Why nothing is heard, with what to do; else empty.
    Q_PROPERTY(QString silence READ silence NOTIFY hearingChanged)
    /// The input level, 0 to 1.
    Q_PROPERTY(double level READ level NOTIFY levelChanged)

public:
    explicit DictateModel(Recorder::Platform platform, QObject *parent = nullptr);

    /// Asks for the microphone and records, unless a recorder is busy. The properties show the result.
    Q_INVOKABLE void start();

    /// Ends the recording and transcribes it.
    Q_INVOKABLE void stop();

    [[nodiscard]] bool isRecording() const { return shown().state() == Recorder::S::recording; }
    [[nodiscard]] bool isWorking() const { return shown().state() == Recorder::S::working; }
    [[nodiscard]] bool isDone() const { return shown().state() == Recorder::S::done; }
    [[nodiscard]] QString message() const;
    [[nodiscard]] bool hasFailed() const { return !shown().isStarting() && shown().hasFailed(); }
    [[nodiscard]] QString silence() const;
    [[nodiscard]] double level() const { return shown().level(); }

Q_SIGNALS:
    void stateChanged();
    void messageChanged();
    void hearingChanged();
    void levelChanged();

private:
    [[nodiscard]] const Recorder &shown() const { return m_other ? *m_other : m_recorder; }
    void follow(const Recorder &recorder);
    void show(Recorder *recorder);
    void showWhatRecords();

    Dictations &m_dictations;
    Recorder m_recorder;
    QPointer<Recorder> m_other; ///< the one that is shown, if it is not the screen's own
};

/// Makes the model of each presentation. Main thread only.
class DictateModelFactory : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Handed to QML by the application")

public:
    /// Everything in `platform` must outlive every model and its last transcription.
    explicit DictateModelFactory(Recorder::Platform platform, QObject *parent = nullptr);

    /// A new idle model that lives as long as `screen`.
    Q_INVOKABLE kavrin::DictateModel *make(QObject *screen);

private:
    Recorder::Platform m_platform;
};

} // namespace kavrin
