// SPDX-License-Identifier: MIT
#include "App/SlowTranscription.h"

#include <chrono>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// Most texts come within five seconds.
constexpr std::chrono::seconds patience(10);

} // namespace

SlowTranscription::SlowTranscription(DictationBridge &bridge, const Dictations &dictations,
                                     Notifications &notifications)
    : m_dictations(dictations), m_notifications(notifications)
{
    m_patience.setSingleShot(true);
    m_patience.setInterval(patience);
    connect(&m_patience, &QTimer::timeout, this, &SlowTranscription::tell);
    connect(&dictations, &Dictations::stateChanged, this, &SlowTranscription::update);
    connect(&notifications, &Notifications::buttonPressed, this,
            [&bridge] { bridge.cancelTranscriptions(); });
}

void SlowTranscription::update()
{
    const bool isWorking = m_dictations.state() == Recorder::S::working;
    if (!isWorking) {
        m_patience.stop();
        m_notifications.withdrawButton();
    } else if (!m_patience.isActive()) {
        m_patience.start();
    }
}

void SlowTranscription::tell()
{
    m_notifications.show(u"Voice typing"_s, u"The service has not answered yet."_s, u"Open voice typing"_s,
                         u"Cancel dictation"_s);
}

} // namespace kavrin
