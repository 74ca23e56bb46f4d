// SPDX-License-Identifier: MIT
#include "App/DictationSignals.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// Most texts come within five seconds.
constexpr std::chrono::seconds patience(10);

using Stay = Notifications::Stay;

const QString openSettings = u"Open voice typing"_s;

const Notifications::Button stop = {u"stop"_s, u"Stop"_s};
const Notifications::Button cancel = {u"cancel"_s, u"Cancel"_s};
/// Unlike `cancel`, leaves a recording alone that has begun since.
const Notifications::Button giveUp = {u"give-up"_s, u"Cancel"_s};

const Notifications::Notice onClipboard = {
    .title = u"Voice typing"_s,
    .text = u"The text is on the clipboard."_s,
    .action = openSettings,
    .buttons = {},
    .stay = Stay::Briefly,
};

} // namespace

/// What each stage shows.
const Notifications::Notice &DictationSignals::noticeOf(Stage stage)
{
    struct Row {
        Stage stage;
        Notifications::Notice notice;
    };
    static const std::array rows = {
        Row{Stage::Listening,
            {u"Listening"_s,
             u"Speak, and stop when you are done."_s,
             openSettings,
             {stop, cancel},
             Stay::UntilWithdrawn}},
        Row{Stage::Silent,
            {u"Kavrin hears nothing"_s,
             u"Speak louder, or choose another microphone in the sound settings of your desktop."_s,
             openSettings,
             {stop, cancel},
             Stay::UntilWithdrawn}},
        Row{Stage::Muted,
            {u"Kavrin hears nothing"_s,
             u"The microphone is muted. Turn it on in the sound settings of your desktop."_s,
             openSettings,
             {stop, cancel},
             Stay::UntilWithdrawn}},
        Row{Stage::Transcribing,
            {u"Transcribing"_s,
             u"The text comes when the service has answered."_s,
             openSettings,
             {giveUp},
             Stay::UntilWithdrawn}},
        Row{Stage::Slow,
            {u"Transcribing"_s,
             u"The service has not answered yet."_s,
             openSettings,
             {giveUp},
             Stay::UntilWithdrawn}},
    };
    return std::ranges::find(rows, stage, &Row::stage)->notice;
}

DictationSignals::DictationSignals(DictationBridge &bridge, const Dictations &dictations,
                                   Notifications &notifications, FailureNotices &failures,
                                   std::function<bool()> isScreenSeen)
    : m_bridge(bridge), m_dictations(dictations), m_notifications(notifications), m_failures(failures),
      m_isScreenSeen(std::move(isScreenSeen))
{
    m_patience.setSingleShot(true);
    m_patience.setInterval(patience);
    connect(&m_patience, &QTimer::timeout, this, [this] {
        m_isSlow = true;
        update();
    });
    connect(&dictations, &Dictations::stateChanged, this, &DictationSignals::update);
    connect(&dictations, &Dictations::hearingChanged, this, &DictationSignals::update);
    connect(&notifications, &Notifications::pressed, this, &DictationSignals::obey);
    connect(&failures, &FailureNotices::retryRequested, this, &DictationSignals::sendAgain);
}

bool DictationSignals::announce(quint64 number)
{
    if (!m_dictations.outcome(number)) {
        return false;
    }
    m_announced = number;
    m_isDelivered = true;
    update();
    return true;
}

bool DictationSignals::delivered(quint64 number, const QString &problem)
{
    if (!m_dictations.outcome(number)) {
        return false;
    }
    if (m_announced == number) {
        m_announced = 0;
    }
    update();
    if (!problem.isEmpty()) {
        m_failures.report(problem);
    }
    return true;
}

void DictationSignals::expectNoDelivery(quint64 number)
{
    if (m_announced == number) {
        m_isDelivered = false;
        update();
    }
}

void DictationSignals::close()
{
    m_isClosed = true;
    update();
}

void DictationSignals::update()
{
    updatePatience();
    forgetEnded();
    const Stage wanted = stage();
    if (wanted == m_stage) {
        return;
    }
    if (m_stage == Stage::Silent || m_stage == Stage::Muted) {
        m_heardAgain = silence() == Stage::None ? m_dictations.latest() : m_heardAgain;
    }
    m_stage = wanted;
    if (wanted == Stage::None) {
        m_notifications.withdraw(m_shown);
    } else {
        m_shown = m_notifications.show(noticeOf(wanted));
    }
}

void DictationSignals::updatePatience()
{
    const bool isWorking = m_dictations.state() == Recorder::S::working;
    m_isSlow = m_isSlow && isWorking;
    if (!isWorking) {
        m_patience.stop();
    } else if (!m_isSlow && !m_patience.isActive()) {
        m_patience.start();
    }
}

/// How the announced dictation has ended; none if it has not, or if there is none.
std::optional<DictationOutcome> DictationSignals::outcome() const
{
    const std::optional<QFuture<DictationOutcome>> known = m_dictations.outcome(m_announced);
    return known && known->isFinished() ? std::optional(known->result()) : std::nullopt;
}

/// FailureNotices has told why one has no text. One with a text is over when it is delivered.
void DictationSignals::forgetEnded()
{
    const std::optional<DictationOutcome> ended = outcome();
    const bool hasText = ended && ended->stamp != 0;
    if (!ended || (hasText && m_isDelivered)) {
        return;
    }
    m_announced = 0;
    if (hasText && !m_isClosed) {
        m_stage = Stage::None;
        m_notifications.show(onClipboard);
    }
}

DictationSignals::Stage DictationSignals::stage() const
{
    if (m_isClosed) {
        return Stage::None;
    }
    if (const Stage silent = silence(); silent != Stage::None) {
        return silent;
    }
    const bool isAnnounced = m_announced != 0;
    if (isAnnounced && m_dictations.active() != nullptr && m_dictations.latest() == m_announced) {
        return Stage::Listening;
    }
    if (m_isSlow) {
        return Stage::Slow;
    }
    const bool isUnderWay = m_dictations.isTranscribing() || outcome();
    return isAnnounced && isUnderWay ? Stage::Transcribing : Stage::None;
}

/// The user is told once in a recording.
DictationSignals::Stage DictationSignals::silence() const
{
    const Recorder *const recording = m_dictations.recording();
    const bool isTold = m_dictations.latest() == m_heardAgain;
    if (recording == nullptr || isTold || m_isScreenSeen()) {
        return Stage::None;
    }
    switch (recording->hearing()) {
    case Recorder::Hearing::Nothing:
        return Stage::Silent;
    case Recorder::Hearing::Muted:
        return Stage::Muted;
    case Recorder::Hearing::Sound:
        break;
    }
    return Stage::None;
}

/// A button of a notice that has just been replaced may come too late, and then does nothing.
void DictationSignals::obey(const QString &button)
{
    if (button == stop.name) {
        m_bridge.stop();
    } else if (button == cancel.name) {
        m_bridge.cancel();
    } else if (button == giveUp.name) {
        m_bridge.cancelTranscriptions();
        cancelDelivery();
    }
}

/// Once the text has come, no transcription is there to be cancelled.
void DictationSignals::cancelDelivery()
{
    const bool isDelivering = m_stage == Stage::Transcribing || m_stage == Stage::Slow;
    if (isDelivering && m_announced != 0) {
        m_givenUp = std::exchange(m_announced, 0);
        update();
    }
}

void DictationSignals::sendAgain()
{
    if (const std::optional<Error> refusal = m_bridge.again()) {
        m_failures.report(refusal->localizedDescription);
        return;
    }
    announce(m_dictations.latest());
    expectNoDelivery(m_dictations.latest());
}

} // namespace kavrin
