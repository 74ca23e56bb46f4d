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
    QString problem;
    try {
        const QCoro::Task<> delivering = deliver(outcome.stamp);
        co_await delivering;
    } catch (const Error &error) {
        problem = m_isCancelled ? QString() : error.localizedDescription + onClipboard;
    }
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
    if (isRunning && m_isEndWanted && !m_isCancelled) {
        const QCoro::Task<> ending = kavrin.stop();
        co_await ending;
    }
    if (m_isCancelled) { // meanwhile, perhaps
        const QCoro::Task<> cancelling = kavrin.cancel();
        co_await cancelling;
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

/// Throws Error if the text may not be typed now.
QCoro::Task<> TypedDictation::check()
{
    const QCoro::Task<bool> asking = m_platform.isLocked();
    if (co_await asking) {
        throw failure(u"The session is locked."_s);
    }
    const QCoro::Task<bool> askingKavrin = m_platform.kavrin.isGivenUp(m_number);
    m_isCancelled = co_await askingKavrin || m_isCancelled;
    if (m_isCancelled) {
        throw failure(u"The dictation is cancelled."_s);
    }
    const double waited = m_platform.clock.now() - m_endedAt;
    const bool isSetBack = waited < 0; // the clock was, so nobody knows
    if (isSetBack || waited > longestWait) {
        throw failure(u"The text has come too late to be typed."_s);
    }
}

/// Resumes when the text is where the cursor is, or when there is none to type. Throws Error.
QCoro::Task<> TypedDictation::deliver(double stamp)
{
    const QCoro::Task<> checking = check();
    co_await checking;
    const auto [typing, obstacle] = m_platform.findTyping();
    if (obstacle) {
        throw Error(*obstacle);
    }
    const QCoro::Task<bool> releasing = awaitRelease();
    if (!co_await releasing) {
        throw failure(u"The key is still held, so nothing was typed."_s);
    }
    const QCoro::Task<QString> claiming = claim(stamp);
    const QString text = cleanText(co_await claiming);
    if (text.isEmpty() || m_isCancelled) {
        co_return;
    }
    const QCoro::Task<std::optional<Error>> inserting = typing->type(text, [this] { return check(); });
    const std::optional<Error> failed = co_await inserting;
    if (failed) {
        throw Error(*failed);
    }
}

/// Resumes with the transcript, which is this dictation's alone; with nothing if another keyboard has used
/// it. Throws Error.
QCoro::Task<QString> TypedDictation::claim(double stamp)
{
    try {
        const QCoro::Task<std::optional<QString>> claiming = handover::claimTranscript(stamp);
        const std::optional<QString> transcript = co_await claiming;
        co_return transcript.value_or(QString());
    } catch (const Error &error) {
        throw failure(u"The text could not be marked as used, so it was not typed: %1."_s.arg(
            error.localizedDescription));
    }
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
