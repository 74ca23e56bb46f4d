// SPDX-License-Identifier: MIT
#pragma once

#include "dictation/DictationBridge.h"
#include "dictation/Dictations.h"
#include "platform/Notifications.h"

#include <QObject>
#include <QTimer>

namespace kavrin
{

/// Tells the user when a transcription takes long, and offers to give it up. Main thread only.
class SlowTranscription : public QObject
{
    Q_OBJECT

public:
    /// All of them must outlive this object.
    SlowTranscription(DictationBridge &bridge, const Dictations &dictations, Notifications &notifications);

private:
    void update();
    void tell();

    const Dictations &m_dictations;
    Notifications &m_notifications;
    Notifications::Number m_shown = 0;
    QTimer m_patience;
};

} // namespace kavrin
