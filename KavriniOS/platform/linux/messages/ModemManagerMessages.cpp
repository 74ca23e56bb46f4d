// SPDX-License-Identifier: MIT
#include "platform/linux/messages/ModemManagerMessages.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusReply>
#include <QDBusServiceWatcher>

#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const QString service = u"org.freedesktop.ModemManager1"_s;
const QString messagingInterface = u"org.freedesktop.ModemManager1.Modem.Messaging"_s;
const QString smsInterface = u"org.freedesktop.ModemManager1.Sms"_s;
const QString propertiesInterface = u"org.freedesktop.DBus.Properties"_s;
const QString anyPath;

// The values of MMSmsState and MMSmsPduType that this file needs. Reports about the user's own messages come
// from the network as well.
constexpr uint receivedState = 3;
constexpr uint deliverPdu = 1;
constexpr uint cdmaDeliverPdu = 32;

Error unreachable(const QString &reason)
{
    return {u"messages"_s, 1,
            u"Messages cannot be waited for, because the system bus cannot be reached: %1"_s.arg(reason)};
}

} // namespace

ModemManagerMessages::ModemManagerMessages(QDBusConnection bus) : m_bus(std::move(bus)) { }

void ModemManagerMessages::start()
{
    if (!m_bus.isConnected()) {
        throw unreachable(m_bus.lastError().message());
    }
    // connect() finds no slot with this type before it is registered.
    qRegisterMetaType<QDBusObjectPath>();
    // This takes signals from any object, so it needs to know no modem.
    m_bus.connect(service, anyPath, messagingInterface, u"Added"_s, this,
                  SLOT(onAdded(QDBusObjectPath, bool)));
    m_bus.connect(service, anyPath, propertiesInterface, u"PropertiesChanged"_s, {smsInterface}, QString(),
                  this, SLOT(onPropertiesChanged(QDBusMessage)));
    m_bus.connect(QString(), u"/org/freedesktop/DBus/Local"_s, u"org.freedesktop.DBus.Local"_s,
                  u"Disconnected"_s, this, SLOT(onDisconnected()));
    auto *owner = new QDBusServiceWatcher(service, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(owner, &QDBusServiceWatcher::serviceOwnerChanged, this, &ModemManagerMessages::onOwnerChanged);

    // When the bus has answered, it has registered every earlier request.
    const QDBusReply<QString> identity = m_bus.call(QDBusMessage::createMethodCall(
        m_bus.interface()->service(), m_bus.interface()->path(), m_bus.interface()->interface(), u"GetId"_s));
    if (!identity.isValid()) {
        throw unreachable(identity.error().message());
    }
}

void ModemManagerMessages::onAdded(const QDBusObjectPath &path, bool fromNetwork)
{
    if (fromNetwork && !m_known.contains(path.path())) {
        m_known.insert(path.path());
        m_awaited.insert(path.path());
        read(path.path());
    }
}

void ModemManagerMessages::onPropertiesChanged(const QDBusMessage &change)
{
    if (m_awaited.contains(change.path())) {
        read(change.path());
    }
}

void ModemManagerMessages::onDisconnected()
{
    Q_EMIT ended(u"The system bus has ended the connection; no message comes any more."_s);
}

/// Another ModemManager numbers its messages from the start.
void ModemManagerMessages::onOwnerChanged()
{
    m_known.clear();
    m_awaited.clear();
}

void ModemManagerMessages::read(const QString &path)
{
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, propertiesInterface, u"GetAll"_s);
    call << smsInterface;
    call.setAutoStartService(false);
    auto *answer = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, path, answer] {
        answer->deleteLater();
        take(path, *answer);
    });
}

void ModemManagerMessages::take(const QString &path, const QDBusPendingCallWatcher &answer)
{
    if (!m_awaited.contains(path)) {
        return; // an earlier answer had it, or it belonged to another ModemManager
    }
    const QDBusPendingReply<QVariantMap> properties = answer;
    if (properties.isError()) {
        m_awaited.remove(path);
        Q_EMIT unreadable(properties.error().message());
        return;
    }
    const QVariantMap message = properties.value();
    if (message.value(u"State"_s).toUInt() != receivedState) {
        return; // a signal will tell its change
    }
    m_awaited.remove(path);
    const uint kind = message.value(u"PduType"_s).toUInt();
    if (kind == deliverPdu || kind == cdmaDeliverPdu) {
        Q_EMIT received(message.value(u"Text"_s).toString());
    }
}

} // namespace kavrin
