// SPDX-License-Identifier: MIT
#pragma once

#include "dictation/Recorder.h"

#include <QtQml/qqmlregistration.h>

namespace kavrin
{

/// One presentation of the dictation screen. It has a recorder of its own, which keeps the transcript on the
/// screen. Destroying the model during a recording ends the recording without a sound and without a
/// transcript. A transcription that is running completes and hands its text over. Main thread only.
class DictateModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by a DictateModelFactory")
    // The recorder's state. All of these are false while it is idle.
    Q_PROPERTY(bool recording READ isRecording NOTIFY stateChanged)
    Q_PROPERTY(bool working READ isWorking NOTIFY stateChanged)
    Q_PROPERTY(bool done READ isDone NOTIFY stateChanged)
    /// What happens, what went wrong, or the transcript.
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)
    /// The input level, 0 to 1.
    Q_PROPERTY(double level READ level NOTIFY levelChanged)

public:
    explicit DictateModel(Recorder::Platform platform, QObject *parent = nullptr);

    /// Asks for the microphone and records. The properties show the result.
    Q_INVOKABLE void start();

    /// Ends the recording and transcribes it.
    Q_INVOKABLE void stop();

    [[nodiscard]] bool isRecording() const { return m_recorder.state() == Recorder::S::recording; }
    [[nodiscard]] bool isWorking() const { return m_recorder.state() == Recorder::S::working; }
    [[nodiscard]] bool isDone() const { return m_recorder.state() == Recorder::S::done; }
    [[nodiscard]] Recorder::S state() const { return m_recorder.state(); }
    [[nodiscard]] QString message() const { return m_recorder.message(); }
    [[nodiscard]] double level() const { return m_recorder.level(); }

Q_SIGNALS:
    void stateChanged();
    void messageChanged();
    void levelChanged();

private:
    Recorder m_recorder;
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

Q_SIGNALS:
    void made(kavrin::DictateModel *model);

private:
    Recorder::Platform m_platform;
};

} // namespace kavrin
