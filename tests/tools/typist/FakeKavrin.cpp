// SPDX-License-Identifier: MIT
#include "FakeKavrin.h"

#include "store/Shared.h"
#include "support/Suite.h"

namespace kavrin::test
{

using namespace Qt::StringLiterals;

FakeKavrin::FakeKavrin(QDBusConnection bus) : m_bus(std::move(bus))
{
    m_bus.registerObject(u"/app/kavrin/Kavrin/Dictation"_s, this, QDBusConnection::ExportScriptableSlots);
    m_bus.registerService(u"app.kavrin.Kavrin"_s);
    connect(&m_timer, &QTimer::timeout, this, &FakeKavrin::poll);
    m_timer.start(1);
}

FakeKavrin::~FakeKavrin()
{
    m_bus.unregisterService(u"app.kavrin.Kavrin"_s);
    m_bus.unregisterObject(u"/app/kavrin/Kavrin/Dictation"_s);
}

void FakeKavrin::poll()
{
    if (!takesCommands || Shared::d().string(u"dictationCommand"_s) != u"start") {
        return;
    }
    if (clearsCommands) {
        put(Shared::d(), u"dictationCommand"_s, u""_s);
    }
    begin();
}

void FakeKavrin::begin()
{
    if (activity == u"idle") {
        activity = u"recording"_s;
        ++m_number;
    }
}

QString FakeKavrin::State()
{
    beforeAnswer();
    const QString told = activity;
    if (isBegunElsewhere) {
        begin();
    }
    return told;
}

void FakeKavrin::transcribe(const QString &text, double stamp)
{
    put(Shared::d(), u"transcript"_s, text);
    put(Shared::d(), u"tStamp"_s, stamp);
    answer(stamp, {});
}

void FakeKavrin::fail(const QString &reason)
{
    answer(0, reason);
}

void FakeKavrin::answer(double stamp, const QString &failure)
{
    activity = u"idle"_s;
    m_bus.send(m_waiting.createReply({stamp, failure}));
}

double FakeKavrin::Outcome(qulonglong number, QString & /*failure*/)
{
    asked.append(u"Outcome %1"_s.arg(number));
    setDelayedReply(true);
    m_waiting = message();
    return 0;
}

void FakeKavrin::Stop()
{
    asked.append(u"Stop"_s);
    activity = u"working"_s;
    beforeAnswer();
}

void FakeKavrin::Cancel()
{
    asked.append(u"Cancel"_s);
    fail({});
}

void FakeKavrin::Announce(qulonglong number)
{
    asked.append(u"Announce %1"_s.arg(number));
}

void FakeKavrin::Delivered(qulonglong number, const QString &problem)
{
    asked.append(u"Delivered %1"_s.arg(number));
    problems.append(problem);
}

void FakeKavrin::Report(const QString &problem)
{
    problems.append(problem);
}

} // namespace kavrin::test
