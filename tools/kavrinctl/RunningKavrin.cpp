// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/RunningKavrin.h"

#include "tools/kavrinctl/Verb.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;

const QString service = u"app.kavrin.Kavrin"_s;
const QString refusal = u"app.kavrin.Kavrin.Error.Refused"_s;

constexpr std::chrono::seconds readLimit(3);

/// Whether the application is there and gives no answer. One that ends meanwhile gives none, either.
bool isUnanswered(const QDBusConnection &bus, const QDBusError &error)
{
    const bool isMissing = error.type() == QDBusError::NoReply || error.type() == QDBusError::Timeout;
    return isMissing && bus.interface()->isServiceRegistered(service);
}

/// The application's answer. An error if no application is there.
QDBusMessage ask(const QString &method, std::chrono::milliseconds limit)
{
    QDBusMessage call = QDBusMessage::createMethodCall(service, u"/app/kavrin/Kavrin/Dictation"_s,
                                                       u"app.kavrin.Dictation"_s, method);
    call.setAutoStartService(false);
    const QDBusConnection bus = QDBusConnection::sessionBus();
    const QDBusMessage answer = bus.call(call, QDBus::Block, int(limit.count()));
    if (answer.errorName() == refusal) {
        throw Refusal{answer.errorMessage()};
    }
    if (isUnanswered(bus, QDBusError(answer))) {
        throw Refusal{
            u"Kavrin runs but has not answered. Look whether the desktop asks you for the microphone; "
            "otherwise restart Kavrin."_s};
    }
    return answer;
}

} // namespace

bool askForDictation(const QString &method, std::chrono::milliseconds limit)
{
    return ask(method, limit).type() == QDBusMessage::ReplyMessage;
}

std::optional<QString> runningState()
{
    const QDBusMessage answer = ask(u"State"_s, readLimit);
    const bool isThere = answer.type() == QDBusMessage::ReplyMessage;
    return isThere ? std::optional(answer.arguments().value(0).toString()) : std::nullopt;
}

QString takeRunningFailure()
{
    return ask(u"TakeFailure"_s, readLimit).arguments().value(0).toString();
}

} // namespace kavrin::ctl
