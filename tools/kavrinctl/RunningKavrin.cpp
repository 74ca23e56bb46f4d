// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/RunningKavrin.h"

#include "tools/kavrinctl/Verb.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QVariantList>
#include <QVariantMap>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;

const QString service = u"app.kavrin.Kavrin"_s;
const QString dictation = u"app.kavrin.Dictation"_s;
const QString refusal = u"app.kavrin.Kavrin.Error.Refused"_s;

constexpr std::chrono::seconds readLimit(3);
constexpr std::chrono::seconds noticeLimit(1);

bool isThere()
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.interface()->isServiceRegistered(service);
}

/// Whether the application is there and gives no answer. One that ends meanwhile gives none, either.
bool isUnanswered(const QDBusError &error)
{
    const bool isMissing = error.type() == QDBusError::NoReply || error.type() == QDBusError::Timeout;
    return isMissing && isThere();
}

/// Waits for the answer. It is an error if no application is there; the call starts none.
QDBusMessage call(const QString &path, const QString &interface, const QString &method,
                  const QVariantList &arguments, std::chrono::milliseconds limit)
{
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    return QDBusConnection::sessionBus().call(message, QDBus::Block, int(limit.count()));
}

/// The application's answer. An error if no application is there.
QDBusMessage ask(const QString &method, std::chrono::milliseconds limit, const QString &interface = dictation,
                 const QVariantList &arguments = {})
{
    const QDBusMessage answer = call(u"/app/kavrin/Kavrin/Dictation"_s, interface, method, arguments, limit);
    if (answer.errorName() == refusal) {
        throw Refusal{answer.errorMessage()};
    }
    if (isUnanswered(QDBusError(answer))) {
        throw Refusal{
            u"Kavrin runs but has not answered. Look whether the desktop asks you for the microphone; "
            "otherwise restart Kavrin."_s};
    }
    return answer;
}

/// Makes the running application perform an action that has no parameters.
void act(const QString &action)
{
    call(u"/app/kavrin/Kavrin"_s, u"org.freedesktop.Application"_s, u"ActivateAction"_s,
         {action, QVariantList(), QVariantMap()}, noticeLimit);
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

std::optional<QString> runningVersion()
{
    const QDBusMessage answer =
        ask(u"Get"_s, readLimit, u"org.freedesktop.DBus.Properties"_s, {dictation, u"Version"_s});
    if (answer.type() == QDBusMessage::ReplyMessage) {
        return answer.arguments().value(0).value<QDBusVariant>().variant().toString();
    }
    return isThere() ? std::optional(QString()) : std::nullopt;
}

QString takeRunningFailure()
{
    return ask(u"TakeFailure"_s, readLimit).arguments().value(0).toString();
}

void tellOfSettings()
{
    act(u"reload-settings"_s);
}

void tellOfComingImport()
{
    act(u"expect-import"_s);
}

} // namespace kavrin::ctl
