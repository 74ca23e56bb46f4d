// SPDX-License-Identifier: MIT
#pragma once

#include "platform/IncomingMessages.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QSet>

class QDBusMessage;
class QDBusPendingCallWatcher;

namespace kavrin
{

/// The messages of the modems that ModemManager controls: the signal Added of each modem's
/// org.freedesktop.ModemManager1.Modem.Messaging, and the properties of the org.freedesktop.ModemManager1.Sms
/// that the signal names (https://www.freedesktop.org/software/ModemManager/doc/latest/ModemManager/).
///
/// ModemManager may start, end and start again at any time. This class does not start it.
class ModemManagerMessages : public IncomingMessages
{
    Q_OBJECT

public:
    /// `bus` is the system bus.
    explicit ModemManagerMessages(QDBusConnection bus = QDBusConnection::systemBus());

    void start() override;

private:
    Q_SLOT void onAdded(const QDBusObjectPath &path, bool fromNetwork);
    Q_SLOT void onPropertiesChanged(const QDBusMessage &change);
    Q_SLOT void onDisconnected();
    void onOwnerChanged();
    void read(const QString &path);
    void take(const QString &path, const QDBusPendingCallWatcher &answer);

    QDBusConnection m_bus;
    QSet<QString> m_known; ///< paths of the messages that this ModemManager has announced
    QSet<QString> m_awaited; ///< those of them that are not known to be complete
};

} // namespace kavrin
