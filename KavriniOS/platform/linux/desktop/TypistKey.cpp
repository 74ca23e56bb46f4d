// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/TypistKey.h"

#include "platform/linux/desktop/SystemdUnit.h"

#include <QCoroDBusPendingCall>
#include <QDBusError>
#include <QDBusMessage>

#include <chrono>
#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

constexpr std::chrono::milliseconds userLimit = std::chrono::minutes(10);

QCoro::Task<QDBusMessage> ask(QDBusConnection bus, QString method, bool startsIt)
{
    QDBusMessage message = QDBusMessage::createMethodCall(u"app.kavrin.Typist"_s, u"/app/kavrin/Typist"_s,
                                                          u"app.kavrin.Typist"_s, method);
    message.setAutoStartService(startsIt);
    const QDBusPendingCall call = bus.asyncCall(message, int(userLimit.count()));
    co_return co_await call;
}

/// Empty if there is no answer.
QString textOf(const QDBusMessage &answer)
{
    return answer.arguments().value(0).toString();
}

/// An error as a sentence for a person.
QString whyNot(const QDBusMessage &error)
{
    return QDBusError(error).type() == QDBusError::ServiceUnknown
        ? u"kavrin-typist, which types the text, is not installed. Install Kavrin whole."_s
        : u"kavrin-typist does not run: %1."_s.arg(error.errorMessage());
}

bool isError(const QDBusMessage &message)
{
    return message.type() == QDBusMessage::ErrorMessage;
}

} // namespace

TypistKey::TypistKey(QDBusConnection bus) : m_bus(std::move(bus)) { }

QCoro::Task<QString> TypistKey::name()
{
    const QCoro::Task<QDBusMessage> asking = ask(m_bus, u"Shortcut"_s, false);
    const QDBusMessage answer = co_await asking;
    co_return isError(answer) ? QString() : textOf(answer);
}

QCoro::Task<QString> TypistKey::setUp()
{
    const QDBusConnection bus = m_bus; // this object may be gone when systemd has answered
    const QCoro::Task<bool> enabling = SystemdUnit::enable(u"app-app.kavrin.Typist.service"_s);
    co_await enabling;
    const QCoro::Task<QDBusMessage> asking = ask(bus, u"AskForShortcut"_s, true);
    const QDBusMessage answer = co_await asking;
    co_return isError(answer) ? whyNot(answer) : textOf(answer);
}

QString TypistKey::command() const
{
    return u"kavrinctl type toggle"_s;
}

} // namespace kavrin
