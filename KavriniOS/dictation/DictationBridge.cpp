// SPDX-License-Identifier: MIT
#include "dictation/DictationBridge.h"

#include "platform/Logging.h"
#include "store/Shared.h"

#include <chrono>

namespace kavrin
{

namespace
{

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds pollInterval = 120ms;
constexpr qint64 passesPerBeat = 8;

const QString commandKey = QStringLiteral("dictationCommand");

/// The command to act upon now, consumed; one that has come in its place meanwhile is for the next pass. One
/// that the suite does not let go of, because it is full or locked, counts once: `kept` holds it until it is
/// gone.
QString takeCommand(QString &kept)
{
    const QString command = Shared::d().string(commandKey).value_or(QString());
    if (command != u"start" && command != u"stop") {
        kept.clear();
        return {};
    }
    const bool isNew = command != kept;
    const bool isConsumed = Shared::d().replace(commandKey, command, QString());
    kept = isConsumed ? QString() : command;
    qCInfo(Logging::dictation) << "Command:" << command << (isNew ? "" : "again");
    return isNew ? command : QString();
}

QCoro::Task<> startWhenIdle(std::shared_ptr<Recorder> recorder)
{
    if (recorder->state() == Recorder::S::done) {
        recorder->setState(Recorder::S::idle);
    }
    if (recorder->state() == Recorder::S::idle) {
        const QCoro::Task<> start = recorder->start();
        co_await start;
    }
}

void stopWhenRecording(Recorder &recorder)
{
    if (recorder.state() == Recorder::S::recording) {
        recorder.stop();
    }
}

} // namespace

DictationBridge::DictationBridge(const Recorder::Platform &platform, MakeAudioPlayer makePlayer,
                                 std::function<void()> startLoopback)
    : m_clock(platform.clock), m_startLoopback(std::move(startLoopback)),
      m_recorder(std::make_shared<Recorder>(platform)),
      m_standby(std::make_shared<Standby>(platform.session, std::move(makePlayer)))
{
    m_recorder->autoReset = true;
}

QCoro::Task<> DictationBridge::run(std::stop_token stop)
{
    m_startLoopback();
    Clock &clock = m_clock;
    const std::shared_ptr<Recorder> recorder = m_recorder;
    QString keptCommand;
    for (qint64 pass = 1; !stop.stop_requested(); ++pass) {
        if (pass % passesPerBeat == 1) {
            Shared::d().set(QStringLiteral("dictationAlive"), clock.now());
            Recorder::publishLateState();
        }
        const QString command = takeCommand(keptCommand);
        if (command == u"start") {
            const QCoro::Task<> start = startWhenIdle(recorder);
            co_await start;
        } else if (command == u"stop") {
            stopWhenRecording(*recorder);
        }
        const QCoro::Task<> sleep = clock.sleep(pollInterval, stop);
        co_await sleep;
    }
}

} // namespace kavrin
