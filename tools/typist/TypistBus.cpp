// SPDX-License-Identifier: MIT
#include "tools/typist/TypistBus.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>

#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const QString refusal = u"app.kavrin.Typist.Error.Refused"_s;

} // namespace

TypistBus::TypistBus(Typist &typist, Answers answers, QDBusConnection bus)
    : m_typist(typist), m_answers(std::move(answers)), m_bus(std::move(bus))
{
}

bool TypistBus::claim()
{
    return m_bus.registerObject(u"/app/kavrin/Typist"_s, this, QDBusConnection::ExportScriptableSlots)
        && m_bus.registerService(name());
}

void TypistBus::release()
{
    m_bus.unregisterService(name());
}

void TypistBus::Press()
{
    answer(m_typist.press());
}

void TypistBus::Release()
{
    m_typist.release();
}

void TypistBus::Toggle()
{
    answer(m_typist.toggle());
}

void TypistBus::Cancel()
{
    m_typist.cancel();
}

QString TypistBus::Way() const
{
    return m_answers.way();
}

QString TypistBus::Shortcut() const
{
    return m_answers.shortcut();
}

QString TypistBus::AskForShortcut()
{
    setDelayedReply(true);
    m_answers.askForShortcut().then(
        [bus = m_bus, call = message()](const QString &name) { bus.send(call.createReply(name)); });
    return {};
}

void TypistBus::answer(QCoro::Task<std::optional<Error>> outcome)
{
    setDelayedReply(true);
    outcome.then([bus = m_bus, call = message()](const std::optional<Error> &failure) {
        bus.send(failure ? call.createErrorReply(refusal, failure->localizedDescription)
                         : call.createReply());
    });
}

} // namespace kavrin
