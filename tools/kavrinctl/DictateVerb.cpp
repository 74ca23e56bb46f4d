// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Console.h"

#include "store/Shared.h"

#include <QDeadlineTimer>
#include <QJsonObject>

#include <chrono>
#include <cmath>
#include <functional>
#include <thread>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// The application beats once a second and looks for commands eight times a second.
constexpr double aliveLimit = 3;
constexpr std::chrono::seconds answerLimit = 3s;
constexpr std::chrono::milliseconds pollInterval = 10ms;

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
    return storedString(u"dictationState"_s);
}

QString command()
{
    return storedString(u"dictationCommand"_s);
}

bool isRunning()
{
    const std::optional<double> alive = storedTime(u"dictationAlive"_s);
    return alive && std::abs(Date::now().secondsSince1970 - *alive) < aliveLimit;
}

void expectRunning()
{
    if (!isRunning()) {
        throw Refusal{u"Kavrin is not running. Start it with \"kavrin\"."_s};
    }
}

bool waitUntil(const std::function<bool()> &condition, QDeadlineTimer limit)
{
    while (!condition()) {
        if (limit.hasExpired()) {
            return false;
        }
        std::this_thread::sleep_for(pollInterval);
    }
    return true;
}

/// Hands a command over and waits until the application has taken it.
void send(const QString &text)
{
    if (!Shared::d().set(u"dictationCommand"_s, text)) {
        throw Refusal{u"The command could not be handed over: "_s + Shared::d().lastError()};
    }
    if (!waitUntil([&] { return command() != text; }, QDeadlineTimer(answerLimit))) {
        Shared::d().set(u"dictationCommand"_s, QString());
        throw Refusal{u"Kavrin runs but does not take the command. Restart it."_s};
    }
}

void start()
{
    send(u"start"_s);
    if (state() == u"working") {
        throw Refusal{u"The last dictation is still being transcribed."_s};
    }
    if (!waitUntil([] { return state() == u"recording"; }, QDeadlineTimer(answerLimit))) {
        throw Refusal{
            state() == u"starting"
                ? u"Recording failed: the microphone could not be opened. Is a sound server running?"_s
                : u"Recording did not start. Kavrin may not be allowed to use the microphone."_s};
    }
}

/// False where there was nothing to stop, whatever the state says: it may be left from a Kavrin that ended,
/// or from a start that failed.
bool stopRecording()
{
    const auto mayRecord = [] { return state() == u"recording" || state() == u"starting"; };
    if (!mayRecord()) {
        return false;
    }
    send(u"stop"_s);
    return waitUntil([&] { return !mayRecord(); }, QDeadlineTimer(1s));
}

void stop()
{
    if (!stopRecording()) {
        throw Refusal{u"There is no recording to stop."_s};
    }
}

void toggle()
{
    if (state() != u"recording" || !stopRecording()) {
        start();
    }
}

void status(bool asJson)
{
    const QString current = state();
    if (asJson) {
        print(QJsonObject{{u"running"_s, isRunning()},
                          {u"state"_s, current.isEmpty() ? QJsonValue() : QJsonValue(current)}});
    } else if (!isRunning()) {
        print(u"not running"_s);
    } else {
        print(current.isEmpty() ? u"idle"_s : current);
    }
}

/// Whether a recording or its transcription is going on.
bool isUnderWay()
{
    return command() == u"stop" || state() == u"recording" || state() == u"working";
}

/// Prints the transcript and marks it as used, as a keyboard does when it inserts it.
void takeTranscript()
{
    const std::optional<double> stamp = storedTime(u"tStamp"_s);
    print(storedString(u"transcript"_s));
    if (stamp) {
        Shared::d().set(u"tUsed"_s, *stamp);
    }
}

void waitForTranscript(QDeadlineTimer limit)
{
    const std::optional<double> before = storedTime(u"tStamp"_s);
    const bool isAwaited = isRunning() && (isUnderWay() || command() == u"start");
    if (!isAwaited && before && before != storedTime(u"tUsed"_s)) {
        takeTranscript();
        return;
    }
    bool wasUnderWay = isUnderWay();
    const auto hasEnded = [&] {
        const bool hasFailed = wasUnderWay && !isUnderWay() && state() == u"idle";
        if (storedTime(u"tStamp"_s) != before) {
            return true;
        }
        if (hasFailed) {
            throw Refusal{
                u"The dictation failed, and there is no transcript. "
                "\"kavrinctl transcribe\" with the recording that \"kavrinctl where\" names says why."_s};
        }
        wasUnderWay = isUnderWay();
        expectRunning();
        return false;
    };
    if (!waitUntil(hasEnded, limit)) {
        throw Refusal{u"No transcript has come."_s};
    }
    takeTranscript();
}

QDeadlineTimer parseLimit(QStringList &arguments)
{
    const qsizetype flag = arguments.indexOf(u"--timeout"_s);
    if (flag < 0) {
        return QDeadlineTimer(QDeadlineTimer::Forever);
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
    expectCount(arguments, 1, 3);
    const QString action = arguments.takeFirst();
    if (action == u"status") {
        const bool asJson = takeFlag(arguments, u"--json"_s);
        expectCount(arguments, 0, 0);
        status(asJson);
    } else if (action == u"wait") {
        const QDeadlineTimer limit = parseLimit(arguments);
        expectCount(arguments, 0, 0);
        waitForTranscript(limit);
    } else if (action == u"start" || action == u"stop" || action == u"toggle") {
        expectCount(arguments, 0, 0);
        expectRunning();
        (action == u"start" ? start : action == u"stop" ? stop : toggle)();
    } else {
        throw UsageError{u"\"%1\" is none of start, stop, toggle, status and wait."_s.arg(action)};
    }
}

} // namespace kavrin::ctl
