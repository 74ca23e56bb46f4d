// SPDX-License-Identifier: MIT
#pragma once

#include "dictation/DictationBridge.h"
#include "dictation/Dictations.h"
#include "store/DictationKeys.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

namespace kavrin
{

/// What the process records or transcribes, whoever has begun it, for a strip in the window. Main thread
/// only.
class RecordingModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application has it.")

    /// A dictation begins, records or is transcribed.
    Q_PROPERTY(bool busy READ isBusy NOTIFY changed)
    Q_PROPERTY(bool recording READ isRecording NOTIFY changed)
    /// stop() would end something: a recording, or its start.
    Q_PROPERTY(bool stoppable READ isStoppable NOTIFY changed)
    /// What happens, as a word or two.
    Q_PROPERTY(QString title READ title NOTIFY changed)
    /// Why nothing is heard, or why the last dictation failed, with what to do; else empty.
    Q_PROPERTY(QString problem READ problem NOTIFY changed)
    /// How long it has recorded: "0:07".
    Q_PROPERTY(QString time READ time NOTIFY timeChanged)
    /// The input level, 0 to 1.
    Q_PROPERTY(double level READ level NOTIFY levelChanged)

public:
    /// Both must outlive this object.
    RecordingModel(DictationBridge &bridge, const Dictations &dictations, QObject *parent = nullptr);

    [[nodiscard]] bool isBusy() const { return m_activity != dictation::idle; }
    [[nodiscard]] bool isRecording() const { return m_activity == dictation::recording; }
    [[nodiscard]] bool isStoppable() const { return isRecording() || m_activity == dictation::starting; }
    [[nodiscard]] QString title() const;
    [[nodiscard]] QString problem() const;
    [[nodiscard]] QString time() const;
    [[nodiscard]] double level() const;

    /// Ends the recording and transcribes it.
    Q_INVOKABLE void stop();

    /// Gives up the recording, or else the transcription.
    Q_INVOKABLE void cancel();

    /// The user has read why the last dictation failed.
    Q_INVOKABLE void dismiss();

    /// Shows why a dictation failed until the next one begins. `reason` is a line without keys.
    void fail(const QString &reason);

Q_SIGNALS:
    void changed();
    void timeChanged();
    void levelChanged();

private:
    void update();
    void follow(Recorder *recorder);

    DictationBridge &m_bridge;
    const Dictations &m_dictations;
    QString m_activity = dictation::idle;
    QString m_failure;
    QPointer<Recorder> m_recorder; ///< that records
    QElapsedTimer m_since;
    QTimer m_seconds;
};

} // namespace kavrin
