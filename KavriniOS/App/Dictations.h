// SPDX-License-Identifier: MIT
#pragma once

#include "dictation/DictateModel.h"
#include "dictation/DictationBridge.h"

#include <QObject>
#include <QPointer>

namespace kavrin
{

/// All dictations of the application together: the keyboard's and the dictation screen's. Main thread only.
class Dictations : public QObject
{
    Q_OBJECT

public:
    /// Both must outlive this object.
    Dictations(DictationBridge &bridge, const DictateModelFactory &screens);

    /// The state that matters most to the user: a recording comes before a transcription, and a transcription
    /// before `idle`.
    [[nodiscard]] Recorder::S state() const;

    /// Ends the recording that is running. If there is none, begins one for the keyboard.
    void toggle();

Q_SIGNALS:
    void stateChanged();

private:
    void watch(DictateModel *screen);

    DictationBridge &m_bridge;
    QPointer<DictateModel> m_screen; ///< null if there is none
};

} // namespace kavrin
