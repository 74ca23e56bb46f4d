// SPDX-License-Identifier: MIT
#pragma once

#include "dictation/Recorder.h"

#include <QtQml/qqmlregistration.h>

namespace kavrin
{

/// What one presentation of the dictation screen shows and does, with a recorder of its own that keeps the
/// transcript on the screen. Destroying it while it records ends the recording without a sound and without a
/// transcript; a transcription under way completes and hands its text over. Main thread only.
class DictateModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by a DictateModelFactory")
    // The recorder's state; none of them holds while it is idle.
    Q_PROPERTY(bool recording READ isRecording NOTIFY stateChanged)
    Q_PROPERTY(bool working READ isWorking NOTIFY stateChanged)
    Q_PROPERTY(bool done READ isDone NOTIFY stateChanged)
    /// What goes on, what went wrong, or the transcript.
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)
    /// The input level, 0 to 1.
    Q_PROPERTY(double level READ level NOTIFY levelChanged)

public:
    explicit DictateModel(Recorder::Platform platform, QObject *parent = nullptr);

    /// Asks for the microphone and records; the properties say what comes of it.
    Q_INVOKABLE void start();

    /// Ends the recording and has it transcribed.
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
    /// What is in `platform` must outlive every model and its last transcription.
    explicit DictateModelFactory(Recorder::Platform platform, QObject *parent = nullptr);

    /// A new model, idle, that lives as long as `screen` does.
    Q_INVOKABLE kavrin::DictateModel *make(QObject *screen);

Q_SIGNALS:
    void made(kavrin::DictateModel *model);

private:
    Recorder::Platform m_platform;
};

} // namespace kavrin
