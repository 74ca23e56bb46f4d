// SPDX-License-Identifier: MIT
#include "App/DictationBus.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>

#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const QString refusal = u"app.kavrin.Kavrin.Error.Refused"_s;

} // namespace

DictationBus::DictationBus(DictationBridge &bridge, Dictations &dictations, DictationSignals &signs,
                           QDBusConnection bus)
    : m_bridge(bridge), m_dictations(dictations), m_signals(signs), m_bus(std::move(bus))
{
    m_bus.registerObject(
        path(), this, QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportScriptableProperties);
    m_announcer.setConnection(m_bus);
    m_announcer.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&m_announcer, &QDBusServiceWatcher::serviceUnregistered, this,
            [this] { m_signals.expectNoDelivery(m_announced); });
}

void DictationBus::Start()
{
    if (isAwaited()) {
        answer(m_bridge.start());
    }
}

void DictationBus::Stop()
{
    answer(m_bridge.stop());
}

void DictationBus::Cancel()
{
    answer(m_bridge.cancel());
}

void DictationBus::Again()
{
    if (isAwaited()) {
        answer(m_bridge.again());
    }
}

void DictationBus::Toggle()
{
    if (isAwaited()) {
        answer(m_bridge.toggle());
    }
}

QString DictationBus::State() const
{
    return m_dictations.activity();
}

QString DictationBus::TakeFailure()
{
    return m_dictations.takeFailure();
}

qulonglong DictationBus::Commanded() const
{
    return m_dictations.commanded();
}

double DictationBus::Outcome(qulonglong number, QString & /*failure*/)
{
    std::optional<QFuture<DictationOutcome>> known = m_dictations.outcome(number);
    if (!known) {
        refuseUnknown();
        return 0;
    }
    setDelayedReply(true);
    known->then([bus = m_bus, call = message()](const DictationOutcome &outcome) {
        bus.send(call.createReply({outcome.stamp, outcome.failure}));
    });
    return 0;
}

void DictationBus::Announce(qulonglong number)
{
    if (!m_signals.announce(number)) {
        refuseUnknown();
        return;
    }
    m_announced = number;
    m_announcer.setWatchedServices({message().service()});
}

void DictationBus::Delivered(qulonglong number, const QString &problem)
{
    if (!m_signals.delivered(number, problem)) {
        refuseUnknown();
    }
}

bool DictationBus::IsGivenUp(qulonglong number) const
{
    return m_signals.isGivenUp(number);
}

void DictationBus::Report(const QString &problem)
{
    m_signals.report(problem);
}

/// False if the caller has left the bus before it got the answer that it wants. Waits for the bus, because a
/// "Stop" that comes next must not overtake a "Start".
bool DictationBus::isAwaited() const
{
    return !message().isReplyRequired() || m_bus.interface()->isServiceRegistered(message().service());
}

void DictationBus::refuseUnknown()
{
    sendErrorReply(refusal, u"There is no such dictation."_s);
}

void DictationBus::answer(const std::optional<Error> &failure)
{
    if (failure) {
        sendErrorReply(refusal, failure->localizedDescription);
    }
}

void DictationBus::answer(QCoro::Task<std::optional<Error>> outcome)
{
    setDelayedReply(true);
    outcome.then([bus = m_bus, call = message()](const std::optional<Error> &failure) {
        bus.send(failure ? call.createErrorReply(refusal, failure->localizedDescription)
                         : call.createReply());
    });
}

} // namespace kavrin
