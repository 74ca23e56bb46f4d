// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Console.h"
#include "tools/kavrinctl/RunningKavrin.h"

#include "platform/linux/desktop/InstanceLock.h"
#include "store/DictationKeys.h"
#include "store/Shared.h"

#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <functional>
#include <thread>
#include <tuple>
#include <utility>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// The application beats once a second and looks for commands eight times a second.
constexpr double aliveLimit = 3;
constexpr std::chrono::seconds answerLimit = 3s;
// While the application is asked for a recording, the desktop may ask the user for the microphone.
constexpr std::chrono::seconds permissionLimit = 60s;
constexpr std::chrono::milliseconds pollInterval = 10ms;
constexpr std::chrono::milliseconds waitInterval = 50ms;
constexpr std::chrono::minutes transcriptLimit = 5min;
constexpr double freshness = 60; // seconds

const QString notRunning = u"Kavrin is not running. Start it with \"kavrin\"."_s;

QString storedString(const QString &key)
{
    return Shared::d().string(key).value_or(QString());
}

std::optional<double> storedTime(const QString &key)
{
    const std::optional<PropertyListValue> value = Shared::d().object(key);
    const auto *time = value ? std::get_if<double>(&*value) : nullptr;
    return time == nullptr ? std::nullopt : std::optional(*time);
}

QString state()
{
    return storedString(dictation::stateKey);
}

QString command()
{
    return storedString(dictation::commandKey);
}

/// A Kavrin that has ended leaves a fresh beat, but no lock.
bool isRunning()
{
    const std::optional<double> alive = storedTime(dictation::aliveKey);
    const bool hasBeaten = alive && std::abs(Date::now().secondsSince1970 - *alive) < aliveLimit;
    return hasBeaten && InstanceLock::isHeld(Shared::lockPath()).value_or(true);
}

void expectRunning()
{
    if (!isRunning()) {
        throw Refusal{notRunning};
    }
}

bool waitUntil(const std::function<bool()> &condition, QDeadlineTimer limit,
               std::chrono::milliseconds interval = pollInterval)
{
    while (!condition()) {
        if (limit.hasExpired()) {
            return false;
        }
        std::this_thread::sleep_for(interval);
    }
    return true;
}

/// Takes back a command that the application does not take. A failure changes nothing.
void withdraw(const QString &text)
{
    std::ignore = Shared::d().write({{dictation::commandKey, QString(), text}});
}

/// Hands a command over and waits until the application has taken it.
void send(const QString &text)
{
    expectNoFailure(Shared::d().set(dictation::commandKey, text), u"The command could not be handed over"_s);
    if (!waitUntil([&] { return command() != text; }, QDeadlineTimer(answerLimit))) {
        withdraw(text);
        expectRunning();
        throw Refusal{u"Kavrin runs but does not take the command. Restart it."_s};
    }
}

/// A time in the future is of a clock that was set back since.
bool isFresh(double time)
{
    return std::abs(Date::now().secondsSince1970 - time) < freshness;
}

/// When the last dictation that brought a text did so.
double timeOfTranscript()
{
    const std::optional<PropertyListValue> stamp = Shared::d().object(dictation::stampKey);
    const auto *const time = stamp ? std::get_if<double>(&*stamp) : nullptr;
    return time == nullptr ? 0 : *time;
}

/// Why and when a dictation has failed after this time. Empty if none has.
QJsonObject failureSince(double time)
{
    const QJsonObject failure = QJsonDocument::fromJson(storedString(dictation::errorKey).toUtf8()).object();
    return failure[u"at"].toDouble() > time ? failure : QJsonObject();
}

/// Throws Refusal if the last dictation has failed, less than a minute ago.
void expectNoFreshFailure()
{
    const QJsonObject failure = failureSince(timeOfTranscript());
    if (!failure.isEmpty() && isFresh(failure[u"at"].toDouble())) {
        throw Refusal{failure[u"message"].toString()};
    }
}

/// Takes back a "start" that the application has taken, unless another program has commanded something since.
void takeBackStart()
{
    std::ignore = Shared::d().write({{dictation::commandKey, dictation::stopCommand, QString()}});
    if (!waitUntil([] { return command() != dictation::stopCommand; }, QDeadlineTimer(answerLimit))) {
        withdraw(dictation::stopCommand);
    }
}

/// A recording may be left over in the state, because a dictation screen that was closed leaves it. Then the
/// state changes as soon as the start is obeyed.
void start()
{
    const bool seemsToRecord = state() == dictation::recording;
    send(dictation::startCommand);
    if (seemsToRecord) {
        waitUntil([] { return state() != dictation::recording; }, QDeadlineTimer(answerLimit));
    }
    if (state() == dictation::working) {
        throw Refusal{u"The last dictation is still being transcribed."_s};
    }
    if (!waitUntil([] { return state() == dictation::recording; }, QDeadlineTimer(answerLimit))) {
        expectNoFreshFailure();
        const bool isStarting = state() == dictation::starting;
        takeBackStart(); // the user may still be asked for the microphone
        throw Refusal{
            isStarting ? u"Recording failed: the microphone could not be opened. Is a sound server running?"_s
                       : u"Recording did not start. Kavrin may not be allowed to use the microphone."_s};
    }
}

/// False if there was nothing to stop. What the state says beforehand does not count: it may be left over, or
/// the suite may have refused the latest one.
bool stopRecording()
{
    const QString before = state();
    send(dictation::stopCommand);
    return before != dictation::working && waitUntil([&] { return state() != before; }, QDeadlineTimer(1s));
}

void stop()
{
    if (!stopRecording()) {
        throw Refusal{u"There is no recording to stop."_s};
    }
}

void toggle()
{
    if (state() != dictation::recording || !stopRecording()) {
        start();
    }
}

void cancel()
{
    throw Refusal{u"Only the session bus can cancel a dictation, and Kavrin is not there."_s};
}

void again()
{
    throw Refusal{u"Only the session bus can send a recording again, and Kavrin is not there."_s};
}

/// An action on a running application: over the session bus or, where the application is not there, over the
/// shared suite.
struct Action {
    QString name;
    QString method; ///< of the application on the bus
    void (*overSuite)();
};

const Action *findAction(const QString &name)
{
    static const std::array actions = {
        Action{u"start"_s, u"Start"_s, start},    Action{u"stop"_s, u"Stop"_s, stop},
        Action{u"toggle"_s, u"Toggle"_s, toggle}, Action{u"cancel"_s, u"Cancel"_s, cancel},
        Action{u"again"_s, u"Again"_s, again},
    };
    const auto *const found = std::ranges::find(actions, name, &Action::name);
    return found == actions.end() ? nullptr : found;
}

void run(const Action &action)
{
    if (!askForDictation(action.method, permissionLimit)) {
        expectRunning();
        action.overSuite();
    }
}

/// What the application does, and "done" once it does nothing after a transcript. From the shared suite if
/// the application is not there.
QString activity(const std::optional<QString> &running)
{
    const bool hasDone = running == dictation::idle && state() == dictation::done;
    return hasDone ? dictation::done : running.value_or(state());
}

void status(bool asJson)
{
    const std::optional<QString> running = runningState();
    const bool runs = running || isRunning();
    const QString current = activity(running);
    if (asJson) {
        print(QJsonObject{{u"running"_s, runs},
                          {u"state"_s, current.isEmpty() ? QJsonValue() : QJsonValue(current)}});
    } else if (!runs) {
        print(u"not running"_s);
    } else {
        print(current.isEmpty() ? u"idle"_s : current);
    }
}

/// Takes the transcript that nobody has used yet, as docs/keyboard.md demands it of keyboards: of several
/// programs one gets it, and one that is a minute old was meant for another place. None if there is none, or
/// only one from before a dictation that has failed.
std::optional<QString> takeTranscript()
{
    PropertyListDictionary now =
        Shared::d()
            .objects({dictation::stateKey, dictation::transcriptKey, dictation::stampKey, dictation::usedKey})
            .value;
    const PropertyListValue stamp = now[dictation::stampKey];
    const auto *const time = std::get_if<double>(&stamp);
    const auto found = now.find(dictation::usedKey);
    const auto used = found == now.end() ? std::nullopt : std::optional(found->second);
    if (time == nullptr || used == stamp || !failureSince(*time).isEmpty()
        || now[dictation::stateKey] == PropertyListValue(dictation::working)) {
        return std::nullopt;
    }
    bool isOurs = false;
    const auto claim = [&](const std::optional<PropertyListValue> &stored) {
        isOurs = stored == used;
        return isOurs ? std::optional(stamp) : std::nullopt;
    };
    expectNoFailure(Shared::d().edit(dictation::usedKey, claim),
                    u"The transcript could not be marked as used"_s);
    const auto *const text = std::get_if<QString>(&now[dictation::transcriptKey]);
    return isOurs && isFresh(*time) ? std::optional(text == nullptr ? QString() : *text) : std::nullopt;
}

/// The next transcript of a dictation that has ended, by now or since it was asked last. Throws Refusal if it
/// ended without one, or if the application has gone.
std::optional<QString> nextTranscript()
{
    const bool isAwaited = command() == dictation::startCommand || command() == dictation::stopCommand;
    const std::optional<QString> running = runningState();
    if (!running) {
        throw Refusal{notRunning};
    }
    if (isAwaited || running != dictation::idle) {
        return std::nullopt;
    }
    if (const QString reason = takeRunningFailure(); !reason.isEmpty()) {
        throw Refusal{reason};
    }
    return takeTranscript();
}

/// Whether a recording or its transcription is running or about to.
bool isUnderWay()
{
    return isRunning()
        && (command() == dictation::startCommand || command() == dictation::stopCommand
            || state() == dictation::recording || state() == dictation::working);
}

[[noreturn]] void refuseFailed()
{
    expectNoFreshFailure();
    throw Refusal{u"The dictation failed, and there is no transcript. "
                  "\"kavrinctl transcribe\" with the recording that \"kavrinctl where\" names says why."_s};
}

/// Like nextTranscript() again and again, by the keys of the shared suite alone.
std::function<std::optional<QString>()> followSuite()
{
    if (!isUnderWay()) {
        expectNoFreshFailure();
    }
    return [wasUnderWay = isUnderWay()]() mutable -> std::optional<QString> {
        if (isUnderWay()) {
            wasUnderWay = true;
            return std::nullopt;
        }
        if (std::exchange(wasUnderWay, false) && state() == dictation::idle) {
            refuseFailed();
        }
        const std::optional<QString> text = takeTranscript();
        if (!text) {
            expectRunning();
        }
        return text;
    };
}

void waitForTranscript(QDeadlineTimer limit)
{
    std::optional<QString> text;
    const std::function<std::optional<QString>()> next = runningState() ? nextTranscript : followSuite();
    const auto hasCome = [&] {
        text = next();
        return text.has_value();
    };
    if (!waitUntil(hasCome, limit, waitInterval)) {
        throw Refusal{u"No transcript has come."_s};
    }
    print(*text);
}

QDeadlineTimer parseLimit(QStringList &arguments)
{
    const qsizetype flag = arguments.indexOf(u"--timeout"_s);
    if (flag < 0) {
        return QDeadlineTimer(transcriptLimit);
    }
    const std::optional<double> seconds = toNumber(arguments.value(flag + 1));
    constexpr double longest = 1e9;
    if (!seconds || *seconds < 0 || *seconds > longest) {
        throw UsageError{u"--timeout takes a number of seconds."_s};
    }
    arguments.remove(flag, 2);
    return QDeadlineTimer(std::chrono::milliseconds(qint64(*seconds * 1000)));
}

} // namespace

void dictate(QStringList &arguments)
{
    expectArguments(arguments, {u"start, stop, toggle, cancel, again, status or wait"_s}, 2);
    const QString action = arguments.takeFirst();
    if (action == u"status") {
        const bool asJson = takeFlag(arguments, u"--json"_s);
        expectArguments(arguments, {});
        status(asJson);
    } else if (action == u"wait") {
        const QDeadlineTimer limit = parseLimit(arguments);
        expectArguments(arguments, {});
        waitForTranscript(limit);
    } else if (const Action *const known = findAction(action)) {
        expectArguments(arguments, {});
        run(*known);
    } else {
        throw UsageError{
            u"\"%1\" is none of start, stop, toggle, cancel, again, status and wait."_s.arg(action)};
    }
}

} // namespace kavrin::ctl
