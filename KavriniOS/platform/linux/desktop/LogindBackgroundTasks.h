// SPDX-License-Identifier: MIT
#pragma once

#include "platform/BackgroundTasks.h"

#include <QDBusConnection>
#include <QDBusUnixFileDescriptor>
#include <QObject>

#include <map>

namespace kavrin
{

/// Delays suspend and shutdown through logind's inhibitor locks (https://systemd.io/INHIBITOR_LOCKS/).
/// Without logind it delays nothing.
class LogindBackgroundTasks : public QObject, public BackgroundTasks
{
    Q_OBJECT

public:
    /// `bus` is the system bus.
    explicit LogindBackgroundTasks(QDBusConnection bus = QDBusConnection::systemBus());

    Identifier begin(const QString &name, std::function<void()> expirationHandler) override;
    void end(Identifier task) override;

private:
    Q_SLOT void onPrepare(bool begins);

    struct Task {
        std::function<void()> expirationHandler;
        QDBusUnixFileDescriptor lock; ///< held as long as it is open
    };

    QDBusConnection m_bus;
    Identifier m_last = 0;
    std::map<Identifier, Task> m_tasks;
};

} // namespace kavrin
