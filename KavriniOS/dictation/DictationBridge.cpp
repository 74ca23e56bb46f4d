// SPDX-License-Identifier: MIT
#include "dictation/DictationBridge.h"

#include "dictation/DictationState.h"
#include "dictation/Dictations.h"
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
      m_keyboard(std::make_shared<Keyboard>(platform)),
      m_standby(std::make_shared<Standby>(platform.session, std::move(makePlayer)))
{
    m_keyboard->recorder.autoReset = true;
}

QCoro::Task<std::optional<Error>> DictationBridge::start()
{
    return start(m_keyboard);
}

QCoro::Task<std::optional<Error>> DictationBridge::start(std::shared_ptr<Keyboard> keyboard)
{
    Recorder &recorder = keyboard->recorder;
    if (recorder.state() == Recorder::S::working) {
        co_return refusal(u"The last dictation is still being transcribed."_s);
    }
    if (recorder.state() == Recorder::S::done) {
        recorder.setState(Recorder::S::idle);
    }
    if (recorder.state() == Recorder::S::idle && !keyboard->isStarting) {
        keyboard->isStarting = true;
        const QCoro::Task<> start = recorder.start();
        co_await start;
        keyboard->isStarting = false;
        if (recorder.state() != Recorder::S::recording) {
            co_return Error(u"dictation"_s, 1, recorder.message());
        }
    }
    co_return std::nullopt;
}

std::optional<Error> DictationBridge::stop()
{
    Recorder *const recorder = m_dictations.recording();
    if (recorder == nullptr) {
        return refusal(u"There is no recording to stop."_s);
    }
    recorder->stop();
    return std::nullopt;
}

QCoro::Task<std::optional<Error>> DictationBridge::toggle()
{
    if (m_dictations.recording() != nullptr) {
        co_return stop();
    }
    const QCoro::Task<std::optional<Error>> starting = start(m_keyboard);
    co_return co_await starting;
}

void DictationBridge::stop(Keyboard &keyboard)
{
    if (keyboard.recorder.state() == Recorder::S::recording) {
        keyboard.recorder.stop();
    }
}

QCoro::Task<> DictationBridge::run(std::stop_token stop)
{
    m_startLoopback();
    DictationState::clearStale();
    Clock &clock = m_clock;
    const std::shared_ptr<Keyboard> keyboard = m_keyboard;
    TakenCommand taken;
    QFuture<std::optional<Error>> beat;
    for (qint64 pass = 1; !stop.stop_requested(); ++pass) {
        if (pass % passesPerBeat == 1) {
            if (beat.isFinished()) {
                beat = SuiteWriter::write({{dictation::aliveKey, clock.now()}});
            }
            DictationState::republishIfFailed();
        }
        const QString command = takeCommand(taken);
        if (command == dictation::startCommand) {
            const QCoro::Task<std::optional<Error>> starting = start(keyboard);
            co_await starting;
        } else if (command == dictation::stopCommand) {
            DictationBridge::stop(*keyboard);
        }
        const QCoro::Task<> sleep = clock.sleep(pollInterval, stop);
        co_await sleep;
    }
}

} // namespace kavrin
