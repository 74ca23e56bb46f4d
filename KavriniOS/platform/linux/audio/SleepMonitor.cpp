// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SleepMonitor.h"

#include <QDBusConnection>

namespace kavrin
{

using namespace Qt::StringLiterals;

SleepMonitor::SleepMonitor(QObject *parent) : QObject(parent)
{
    QDBusConnection::systemBus().connect(u"org.freedesktop.login1"_s, u"/org/freedesktop/login1"_s,
                                         u"org.freedesktop.login1.Manager"_s, u"PrepareForSleep"_s, this,
                                         SIGNAL(sleepChanged(bool)));
}

} // namespace kavrin
