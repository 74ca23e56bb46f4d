// SPDX-License-Identifier: MIT
#include "tools/typist/TypedDictation.h"

#include "platform/Logging.h"
#include "store/DictationKeys.h"
#include "tools/typist/CleanText.h"
#include "tools/typist/Handover.h"

#include <QDeadlineTimer>
#include <QScopeGuard>

#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{

constexpr std::chrono::milliseconds patienceForStart = 3s;
constexpr std::chrono::milliseconds commandInterval = 20ms;
constexpr std::chrono::milliseconds recordingInterval = 250ms;

/// How long the user may hold the key after the text has come. Its modifiers would make another shortcut of
/// a paste.
constexpr std::chrono::milliseconds patienceWithKey = 2s;
constexpr std::chrono::milliseconds keyInterval = 10ms;

/// A text that comes later was meant for another place.
constexpr double longestWait = 60; // seconds

const QString busy = u"Kavrin is busy with another dictation. Try again when it is over."_s;
const QString deaf = u"Kavrin does not take the command, which is withdrawn. Restart Kavrin."_s;
const QString onClipboard = u" The text is on the clipboard: Ctrl+V pastes it, in a terminal Ctrl+Shift+V."_s;

bool isRecording(const QString &activity)
{
    return activity == dictation::recording || activity == dictation::starting;
}

Error failure(const QString &reason)
{
    return {u"typist"_s, 1, reason};
}

/// The outcome of a dictation; `wake` is requested when it has come, or cannot.
QCoro::Task<RunningKavrin::Outcome> hearOutcome(RunningKavrin &kavrin, quint64 number, std::stop_source wake)
{
    const auto onEnd = qScopeGuard([&wake] { wake.request_stop(); });
    const QCoro::Task<RunningKavrin::Outcome> asking = kavrin.outcome(number);
    co_return co_await asking;
}

} // namespace

TypedDictation::TypedDictation(Platform platform) : m_platform(std::move(platform)) { }

QCoro::Task<> TypedDictation::begin()
{
    RunningKavrin &kavrin = m_platform.kavrin;
    const QCoro::Task<quint64> starting = kavrin.commanded();
    co_await starting;
    const QCoro::Task<QString> looking = kavrin.activity();
    if (isRecording(co_await looking)) {
        qCInfo(Logging::dictation) << "Somebody else's recording ends";
        const QCoro::Task<> stopping = kavrin.stop();
        co_await stopping;
        co_return;
    }
    // Not earlier: what somebody else begins meanwhile is not this dictation.
    const QCoro::Task<quint64> asking = kavrin.commanded();
    const quint64 before = co_await asking;
    const QCoro::Task<bool> handingOver = handOverStart();
    const bool isTaken = co_await handingOver;
    // Counts whether it was taken or not: a suite that is full keeps the command that Kavrin has acted on.
    const QCoro::Task<quint64> askingAgain = kavrin.commanded();
    const quint64 number = co_await askingAgain;
    if (number == before) {
        throw failure(isTaken ? busy : deaf);
    }
    qCInfo(Logging::dictation) << "Dictation" << number << "begins";
    m_number = number;
    kavrin.announce(number);
}

/// Resumes with whether Kavrin has taken the command. If it has not, the command is withdrawn. Throws Error
/// if another keyboard's command lies there.
QCoro::Task<bool> TypedDictation::handOverStart()
{
    const QCoro::Task<bool> storing = handover::storeStart();
    if (!co_await storing) {
        throw failure(busy);
    }
    const QDeadlineTimer limit(patienceForStart);
    while (!limit.hasExpired()) {
        if (handover::isStartTaken()) {
            co_return true;
        }
        const QCoro::Task<> sleep = m_platform.clock.sleep(commandInterval, {});
        co_await sleep;
    }
    const QCoro::Task<> withdrawing = handover::withdrawStart();
    co_await withdrawing;
    co_return false;
}

QCoro::Task<> TypedDictation::finish()
{
    if (m_number == 0) {
        co_return;
    }
    // Asked at once: Kavrin answers when the dictation is over, whoever has ended it.
    const QCoro::Task<RunningKavrin::Outcome> asking = hearOutcome(m_platform.kavrin, m_number, m_wake);
    m_phase = Phase::Recording;
    const QCoro::Task<> recording = record();
    co_await recording;
    if (m_isLeft) {
        co_return;
    }
    m_phase = Phase::Waiting;
    const RunningKavrin::Outcome outcome = co_await asking;
    if (outcome.stamp == 0 || m_isCancelled) {
        qCInfo(Logging::dictation) << "No text to type";
        co_return;
    }
    m_phase = Phase::Delivering;
    const QCoro::Task<QString> delivering = deliver(outcome.stamp);
    const QString problem = co_await delivering;
    qCInfo(Logging::dictation) << "Delivered" << problem;
    m_platform.kavrin.deliver(m_number, problem);
}

/// Resumes when the recording is over, and has ended it if that was asked for.
QCoro::Task<> TypedDictation::record()
{
    RunningKavrin &kavrin = m_platform.kavrin;
    bool isRunning = true;
    while (isRunning && !m_wake.stop_requested()) {
        const QCoro::Task<> sleep = m_platform.clock.sleep(recordingInterval, m_wake.get_token());
        co_await sleep;
        if (!m_wake.stop_requested()) {
            const QCoro::Task<QString> looking = kavrin.activity();
            isRunning = isRecording(co_await looking);
        }
    }
    m_endedAt = m_platform.clock.now();
    if (isRunning && m_isEndWanted) {
        const QCoro::Task<> ending = m_isCancelled ? kavrin.cancel() : kavrin.stop();
        co_await ending;
    }
}

/// Resumes with whether the user has released the key.
QCoro::Task<bool> TypedDictation::awaitRelease()
{
    const QDeadlineTimer limit(patienceWithKey);
    while (m_platform.isKeyHeld() && !limit.hasExpired()) {
        const QCoro::Task<> sleep = m_platform.clock.sleep(keyInterval, {});
        co_await sleep;
    }
    co_return !m_platform.isKeyHeld();
}

/// Resumes with why the text is on the clipboard only, or with nothing.
QCoro::Task<QString> TypedDictation::deliver(double stamp)
{
    if (m_platform.clock.now() - m_endedAt > longestWait) {
        co_return u"The text has come too late to be typed."_s + onClipboard;
    }
    const auto [typing, obstacle] = m_platform.findTyping();
    if (obstacle) {
        co_return obstacle->localizedDescription + onClipboard;
    }
    const QCoro::Task<bool> asking = m_platform.isLocked();
    if (co_await asking) {
        co_return u"The session is locked."_s + onClipboard;
    }
    const QCoro::Task<bool> releasing = awaitRelease();
    if (!co_await releasing) {
        co_return u"The key is still held, so nothing was typed."_s + onClipboard;
    }
    std::optional<QString> transcript;
    try {
        const QCoro::Task<std::optional<QString>> claiming = handover::claimTranscript(stamp);
        transcript = co_await claiming;
    } catch (const Error &error) {
        co_return u"The text could not be marked as used, so it was not typed: %1."_s.arg(
            error.localizedDescription)
            + onClipboard;
    }
    if (!transcript || m_isCancelled) {
        co_return QString(); // another keyboard has inserted it
    }
    const QCoro::Task<QString> inserting = type(*typing, *transcript);
    co_return co_await inserting;
}

QCoro::Task<QString> TypedDictation::type(Typing &typing, QString transcript)
{
    const QString text = cleanText(transcript);
    if (text.isEmpty()) {
        co_return QString();
    }
    const QCoro::Task<std::optional<Error>> inserting = typing.type(text);
    const std::optional<Error> failed = co_await inserting;
    co_return failed ? failed->localizedDescription + onClipboard : QString();
}

void TypedDictation::end()
{
    m_isEndWanted = true;
    m_wake.request_stop();
}

void TypedDictation::cancel()
{
    m_isCancelled = true;
    end();
    if (m_phase == Phase::Waiting) {
        m_platform.kavrin.cancel();
    }
}

void TypedDictation::leave()
{
    m_isLeft = true;
    end();
}

} // namespace kavrin
