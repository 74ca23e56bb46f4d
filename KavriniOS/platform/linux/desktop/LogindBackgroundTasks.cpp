// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/LogindBackgroundTasks.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const QString service = u"org.freedesktop.login1"_s;
const QString path = u"/org/freedesktop/login1"_s;
const QString manager = u"org.freedesktop.login1.Manager"_s;

} // namespace

LogindBackgroundTasks::LogindBackgroundTasks(QDBusConnection bus) : m_bus(std::move(bus))
{
    for (const QString &signal : {u"PrepareForSleep"_s, u"PrepareForShutdown"_s}) {
        m_bus.connect(service, path, manager, signal, this, SLOT(onPrepare(bool)));
    }
}

BackgroundTasks::Identifier LogindBackgroundTasks::begin(const QString &name,
                                                         std::function<void()> expirationHandler)
{
    const Identifier task = ++m_last;
    m_tasks[task].expirationHandler = std::move(expirationHandler);
    if (!m_bus.isConnected()) {
        // Nobody would answer a call, and its watcher would stay for good.
        return task;
    }

    QDBusMessage call = QDBusMessage::createMethodCall(service, path, manager, u"Inhibit"_s);
    call.setArguments({u"sleep:shutdown"_s, u"Kavrin"_s, name, u"delay"_s});
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, task, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *watcher;
        const auto running = m_tasks.find(task);
        // The task may have ended in the meantime. The lock then goes with the reply.
        if (reply.isValid() && running != m_tasks.end()) {
            running->second.lock = reply.value();
        }
    });
    return task;
}

void LogindBackgroundTasks::end(Identifier task)
{
    m_tasks.erase(task);
}

void LogindBackgroundTasks::onPrepare(bool begins)
{
    if (!begins) {
        return;
    }
    const std::map<Identifier, Task> tasks = m_tasks;
    for (const auto &[identifier, task] : tasks) {
        // One task's handler may have ended another task.
        if (m_tasks.contains(identifier)) {
            task.expirationHandler();
        }
    }
}

} // namespace kavrin
