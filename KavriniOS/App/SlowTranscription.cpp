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

const Notifications::Button cancel = {u"cancel"_s, u"Cancel dictation"_s};

} // namespace

SlowTranscription::SlowTranscription(DictationBridge &bridge, const Dictations &dictations,
                                     Notifications &notifications)
    : m_dictations(dictations), m_notifications(notifications)
{
    m_patience.setSingleShot(true);
    m_patience.setInterval(patience);
    connect(&m_patience, &QTimer::timeout, this, &SlowTranscription::tell);
    connect(&dictations, &Dictations::stateChanged, this, &SlowTranscription::update);
    connect(&notifications, &Notifications::pressed, this, [&bridge](const QString &button) {
        if (button == cancel.name) {
            bridge.cancelTranscriptions();
        }
    });
}

void SlowTranscription::update()
{
    const bool isWorking = m_dictations.state() == Recorder::S::working;
    if (!isWorking) {
        m_patience.stop();
        m_notifications.withdraw(m_shown);
    } else if (!m_patience.isActive()) {
        m_patience.start();
    }
}

void SlowTranscription::tell()
{
    m_shown = m_notifications.show({.title = u"Voice typing"_s,
                                    .text = u"The service has not answered yet."_s,
                                    .action = u"Open voice typing"_s,
                                    .buttons = {cancel},
                                    .stay = Notifications::Stay::UntilWithdrawn});
}

} // namespace kavrin
