// SPDX-License-Identifier: MIT
#include "tools/typist/RunningKavrin.h"

#include <QCoroDBusPendingCall>
#include <QDBusMessage>
#include <QDBusPendingCall>

#include <limits>
#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const QString refusal = u"app.kavrin.Kavrin.Error.Refused"_s;

// Kavrin answers at once, but may have to be started first.
constexpr std::chrono::seconds answerLimit(3);
constexpr std::chrono::seconds startLimit(10);
constexpr std::chrono::milliseconds noLimit(std::numeric_limits<int>::max());

QDBusMessage toDictation(const QString &method, const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        u"app.kavrin.Kavrin"_s, u"/app/kavrin/Kavrin/Dictation"_s, u"app.kavrin.Dictation"_s, method);
    message.setArguments(arguments);
    return message;
}

/// A notification that is not Kavrin's.
QDBusMessage notification(const QString &text)
{
    const QString service = u"org.freedesktop.Notifications"_s;
    QDBusMessage message =
        QDBusMessage::createMethodCall(service, u"/org/freedesktop/Notifications"_s, service, u"Notify"_s);
    constexpr int serverDecides = -1; // how long it stays
    return message << u"Kavrin"_s << 0U << u"app.kavrin.Kavrin"_s << u"Voice typing"_s << text
                   << QStringList() << QVariantMap() << serverDecides;
}

Error noAnswer(const QDBusMessage &answer)
{
    return {u"kavrin"_s, 1, u"Kavrin does not answer: "_s + answer.errorMessage()};
}

} // namespace

RunningKavrin::RunningKavrin(QDBusConnection bus) : m_bus(std::move(bus)) { }

QCoro::Task<QVariantList> RunningKavrin::call(QString method, QVariantList arguments,
                                              std::chrono::milliseconds limit, IfAbsent ifAbsent)
{
    QDBusMessage message = toDictation(method, arguments);
    message.setAutoStartService(ifAbsent == IfAbsent::Start);
    const QDBusPendingCall calling = m_bus.asyncCall(message, int(limit.count()));
    const QDBusMessage answer = co_await calling;
    if (answer.errorName() == refusal) {
        throw Error(u"refused"_s, 1, answer.errorMessage());
    }
    if (answer.type() != QDBusMessage::ReplyMessage) {
        throw noAnswer(answer);
    }
    co_return answer.arguments();
}

QCoro::Task<> RunningKavrin::callUnlessRefused(QString method)
{
    try {
        const QCoro::Task<QVariantList> calling = call(method, {}, answerLimit);
        co_await calling;
    } catch (const Error &error) {
        if (error.domain != u"refused") {
            throw;
        }
    }
}

void RunningKavrin::notify(const QString &method, const QVariantList &arguments)
{
    QDBusMessage message = toDictation(method, arguments);
    message.setAutoStartService(false);
    m_bus.send(message);
}

QCoro::Task<quint64> RunningKavrin::commanded()
{
    const QCoro::Task<QVariantList> calling = call(u"Commanded"_s, {}, startLimit, IfAbsent::Start);
    const QVariantList answer = co_await calling;
    co_return answer.value(0).toULongLong();
}

QCoro::Task<RunningKavrin::Outcome> RunningKavrin::outcome(quint64 number)
{
    const QCoro::Task<QVariantList> calling = call(u"Outcome"_s, {qulonglong(number)}, noLimit);
    const QVariantList answer = co_await calling;
    Outcome outcome;
    outcome.stamp = answer.value(0).toDouble();
    outcome.failure = answer.value(1).toString();
    co_return outcome;
}

QCoro::Task<QString> RunningKavrin::activity()
{
    const QCoro::Task<QVariantList> calling = call(u"State"_s, {}, answerLimit);
    const QVariantList answer = co_await calling;
    co_return answer.value(0).toString();
}

QCoro::Task<> RunningKavrin::stop()
{
    return callUnlessRefused(u"Stop"_s);
}

QCoro::Task<> RunningKavrin::cancel()
{
    return callUnlessRefused(u"Cancel"_s);
}

void RunningKavrin::announce(quint64 number)
{
    notify(u"Announce"_s, {qulonglong(number)});
}

QCoro::Task<bool> RunningKavrin::isGivenUp(quint64 number)
{
    try {
        const QCoro::Task<QVariantList> asking = call(u"IsGivenUp"_s, {qulonglong(number)}, answerLimit);
        const QVariantList answer = co_await asking;
        co_return answer.value(0).toBool();
    } catch (const Error &) {
        co_return false;
    }
}

void RunningKavrin::deliver(quint64 number, const QString &problem)
{
    notify(u"Delivered"_s, {qulonglong(number), problem});
}

QCoro::Task<> RunningKavrin::report(QString problem)
{
    const QDBusConnection bus = m_bus; // this object may be gone when Kavrin does not answer
    try {
        const QCoro::Task<QVariantList> reporting = call(u"Report"_s, {problem}, answerLimit);
        co_await reporting;
    } catch (const Error &) {
        bus.send(notification(problem));
    }
}

} // namespace kavrin
