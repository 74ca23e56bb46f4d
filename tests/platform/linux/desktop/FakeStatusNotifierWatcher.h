// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>

namespace kavrin::test
{

/// Stands for the panel's list of icons
/// (https://www.freedesktop.org/wiki/Specifications/StatusNotifierItem/StatusNotifierWatcher/).
class FakeStatusNotifierWatcher : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost)

public:
    enum class Host { Present, Absent };

    explicit FakeStatusNotifierWatcher(QDBusConnection bus, Host host = Host::Present);
    ~FakeStatusNotifierWatcher() override;

    /// A host comes or goes.
    void setHost(Host host);

    /// Gives its name back and takes it anew at once, knowing no item any more.
    void restart();

    /// The names that the items have registered under, the first one first.
    [[nodiscard]] const QStringList &items() const { return m_items; }

    [[nodiscard]] bool hasHost() const;
    [[nodiscard]] bool wasAsked() const { return m_wasAsked; }

    Q_SLOT void RegisterStatusNotifierItem(const QString &service) { m_items.append(service); }

Q_SIGNALS:
    void StatusNotifierHostRegistered();
    void StatusNotifierHostUnregistered();

private:
    QDBusConnection m_bus;
    Host m_host;
    QStringList m_items;
    mutable bool m_wasAsked = false;
};

} // namespace kavrin::test
