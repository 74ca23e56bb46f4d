// SPDX-License-Identifier: MIT
#include "dictation/DictationBridge.h"

#include "dictation/DictationError.h"
#include "dictation/DictationState.h"
#include "dictation/Dictations.h"
#include "dictation/KeptRecordings.h"
#include "platform/Logging.h"
#include "store/DictationKeys.h"
#include "store/Shared.h"
#include "store/SuiteWriter.h"

#include <chrono>

namespace kavrin
{

namespace
{

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

constexpr std::chrono::milliseconds pollInterval = 120ms;
constexpr qint64 passesPerBeat = 8;

/// A command that the bridge has acted on, and the write that clears it in the suite.
struct TakenCommand {
    QString command;
    QFuture<std::optional<Error>> consumption;
};

/// Takes the command that the bridge acts on now. A command that stays in the suite, because the suite is
/// full or locked, counts once. The next command waits until that is settled: otherwise, what consumes a
/// "start" would also consume a second "start" that comes after a "stop".
QString takeCommand(TakenCommand &taken)
{
    if (!taken.consumption.isFinished()) {
        return {};
    }
    const auto [stored, failure] = Shared::d().read(dictation::commandKey);
    const auto *const command = stored ? std::get_if<QString>(&*stored) : nullptr;
    if (failure || command == nullptr
        || (*command != dictation::startCommand && *command != dictation::stopCommand)) {
        taken.command = failure ? taken.command : QString();
        return {};
    }
    const bool isKept = *command == taken.command && taken.consumption.result().has_value();
    taken = {*command, SuiteWriter::write({{dictation::commandKey, QString(), *command}})};
    qCInfo(Logging::dictation) << "Command:" << *command << (isKept ? "again" : "");
    return isKept ? QString() : *command;
}

Error refusal(const QString &reason)
{
    return {u"dictation"_s, DictationBridge::refused, reason};
}

} // namespace

DictationBridge::DictationBridge(const Recorder::Platform &platform, MakeAudioPlayer makePlayer,
                                 std::function<void()> startLoopback)
    : m_clock(platform.clock), m_dictations(platform.dictations), m_startLoopback(std::move(startLoopback)),
      m_endTranscriptions(platform.endTranscriptions), m_recorder(std::make_shared<Recorder>(platform)),
      m_standby(std::make_shared<Standby>(platform.session, std::move(makePlayer)))
{
    m_recorder->autoReset = true;
}

QCoro::Task<std::optional<Error>> DictationBridge::start()
{
    return start(m_recorder, m_dictations);
}

QCoro::Task<std::optional<Error>> DictationBridge::start(std::shared_ptr<Recorder> recorder,
                                                         const Dictations &dictations)
{
    if (dictations.active() != nullptr) {
        co_return std::nullopt;
    }
    if (dictations.isTranscribing()) {
        co_return refusal(Recorder::stillTranscribing());
    }
    if (recorder->state() == Recorder::S::done) {
        recorder->setState(Recorder::S::idle);
    }
    const QCoro::Task<> start = recorder->start();
    co_await start;
    if (recorder->state() == Recorder::S::idle) {
        co_return Error(u"dictation"_s, 1, recorder->message());
    }
    co_return std::nullopt;
}

std::optional<Error> DictationBridge::stop()
{
    return stop(m_dictations);
}

std::optional<Error> DictationBridge::stop(const Dictations &dictations)
{
    Recorder *const recorder = dictations.active();
    if (recorder == nullptr) {
        return refusal(u"There is no recording to stop."_s);
    }
    recorder->stop();
    return std::nullopt;
}

std::optional<Error> DictationBridge::cancel()
{
    if (Recorder *const recorder = m_dictations.active()) {
        recorder->cancel();
        return std::nullopt;
    }
    return cancelTranscriptions();
}

std::optional<Error> DictationBridge::cancelTranscriptions()
{
    if (!m_dictations.giveUpTranscriptions()) {
        return refusal(u"There is no dictation to cancel."_s);
    }
    m_endTranscriptions();
    return std::nullopt;
}

std::optional<Error> DictationBridge::again()
{
    if (m_dictations.activity() != dictation::idle) {
        return refusal(u"A dictation is running. Wait until it has ended."_s);
    }
    const std::optional<QString> recording = KeptRecordings::latest();
    if (!recording) {
        return refusal(u"There is no recording to send again."_s);
    }
    m_recorder->transcribeAgain(*recording);
    return std::nullopt;
}

QCoro::Task<std::optional<Error>> DictationBridge::toggle()
{
    if (m_dictations.active() != nullptr) {
        co_return stop();
    }
    const QCoro::Task<std::optional<Error>> starting = start();
    co_return co_await starting;
}

QCoro::Task<> DictationBridge::run(std::stop_token stop)
{
    m_startLoopback();
    DictationState::clearStale();
    Clock &clock = m_clock;
    const std::shared_ptr<Recorder> recorder = m_recorder;
    Dictations &dictations = m_dictations;
    TakenCommand taken;
    QFuture<std::optional<Error>> beat;
    for (qint64 pass = 1; !stop.stop_requested(); ++pass) {
        if (pass % passesPerBeat == 1) {
            if (beat.isFinished()) {
                beat = SuiteWriter::write({{dictation::aliveKey, clock.now()}});
            }
            DictationError::republishIfFailed(); // before the state, as when they were new
            DictationState::republishIfFailed();
        }
        const QString command = takeCommand(taken);
        if (command == dictation::startCommand) {
            const quint64 before = dictations.latest();
            start(recorder, dictations); // not awaited: the user may take long to permit the microphone
            if (dictations.latest() != before) {
                dictations.setCommanded(dictations.latest());
            }
        } else if (command == dictation::stopCommand) {
            DictationBridge::stop(dictations);
        }
        const QCoro::Task<> sleep = clock.sleep(pollInterval, stop);
        co_await sleep;
    }
}

} // namespace kavrin
