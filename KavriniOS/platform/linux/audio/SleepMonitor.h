// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

namespace kavrin
{

/// Tells when the machine goes to sleep and when it is awake again, as logind announces it on the system bus
/// (org.freedesktop.login1.Manager, PrepareForSleep). Without logind it tells nothing.
class SleepMonitor : public QObject
{
    Q_OBJECT

public:
    explicit SleepMonitor(QObject *parent = nullptr);

Q_SIGNALS:
    /// True before the machine sleeps, false after.
    void sleepChanged(bool goingToSleep);
};

} // namespace kavrin
