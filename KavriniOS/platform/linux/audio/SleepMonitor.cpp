// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SleepMonitor.h"

#include <QDBusConnection>

namespace kavrin
{

SleepMonitor::SleepMonitor(QObject *parent) : QObject(parent)
{
    QDBusConnection::systemBus().connect(QStringLiteral("org.freedesktop.login1"),
                                         QStringLiteral("/org/freedesktop/login1"),
                                         QStringLiteral("org.freedesktop.login1.Manager"),
                                         QStringLiteral("PrepareForSleep"), this, SIGNAL(sleepChanged(bool)));
}

} // namespace kavrin
