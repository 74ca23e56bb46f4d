// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/ApplicationBus.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>

#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

using RegisterReply = QDBusReply<QDBusConnectionInterface::RegisterServiceReply>;

const QString activationTokenKey = u"activation-token"_s;
const QString startupIdKey = u"desktop-startup-id"_s;

const QString refusal = u"app.kavrin.Kavrin.Error.Refused"_s;

QString environmentToken()
{
    const QString token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
    return token.isEmpty() ? qEnvironmentVariable("DESKTOP_STARTUP_ID") : token;
}

// Read before main(), because QGuiApplication removes it from the environment.
const QString launchToken = environmentToken();

QString tokenOf(const QVariantMap &platformData)
{
    const QString token = platformData.value(activationTokenKey).toString();
    return token.isEmpty() ? platformData.value(startupIdKey).toString() : token;
}

QString objectPath(const QString &name)
{
    return u'/' + QString(name).replace(u'.', u'/').replace(u'-', u'_');
}

} // namespace

ApplicationBus::ApplicationBus(QString name, QDBusConnection bus)
    : m_name(std::move(name)), m_bus(std::move(bus))
{
}

ApplicationBus::~ApplicationBus()
{
    release();
}

void ApplicationBus::release()
{
    m_bus.unregisterService(m_name);
    m_bus.unregisterObject(objectPath(m_name));
}

ApplicationBus::Claim ApplicationBus::claim()
{
    if (!m_bus.isConnected()) {
        return Claim::NoBus;
    }
    m_bus.registerObject(objectPath(m_name), this, QDBusConnection::ExportScriptableSlots);
    const RegisterReply reply =
        m_bus.interface()->registerService(m_name, QDBusConnectionInterface::DontQueueService);
    if (!reply.isValid()) {
        return Claim::NoBus;
    }
    return reply.value() == QDBusConnectionInterface::ServiceRegistered ? Claim::First : Claim::Taken;
}

QString ApplicationBus::handOver(const QStringList &urls, std::chrono::milliseconds timeout,
                                 const QString &name, const QDBusConnection &bus)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        name, objectPath(name), u"org.freedesktop.Application"_s, urls.isEmpty() ? u"Activate"_s : u"Open"_s);
    if (!urls.isEmpty()) {
        call << urls;
    }
    QVariantMap platformData;
    if (!launchToken.isEmpty()) {
        platformData.insert(activationTokenKey, launchToken);
    }
    call << platformData;
    call.setAutoStartService(false);
    const QDBusMessage answer = bus.call(call, QDBus::Block, int(timeout.count()));
    if (answer.type() == QDBusMessage::ReplyMessage) {
        return {};
    }
    return answer.errorName() == refusal ? answer.errorMessage()
                                         : u"Kavrin is already running, but does not answer. End "
                                           "that process and try again."_s;
}

void ApplicationBus::Activate(const QVariantMap &platformData)
{
    if (!m_refusal.isEmpty()) {
        sendErrorReply(refusal, m_refusal);
        return;
    }
    Q_EMIT activated(tokenOf(platformData));
}

void ApplicationBus::Open(const QStringList &urls, const QVariantMap &platformData)
{
    Q_EMIT openRequested(urls, tokenOf(platformData));
}

void ApplicationBus::ActivateAction(const QString &action, const QVariantList &parameters,
                                    const QVariantMap &platformData)
{
    setDelayedReply(true);
    const Answer answer = [bus = m_bus, call = message()](const std::optional<Error> &failure) {
        bus.send(failure ? call.createErrorReply(refusal, failure->localizedDescription)
                         : call.createReply());
    };
    Q_EMIT actionRequested(action, parameters, tokenOf(platformData), answer);
}

} // namespace kavrin
