// SPDX-License-Identifier: MIT
#include "FakeStatusNotifierWatcher.h"

#include <utility>

namespace kavrin::test
{

namespace
{

constexpr QLatin1String service("org.kde.StatusNotifierWatcher");
constexpr QLatin1String path("/StatusNotifierWatcher");

} // namespace

FakeStatusNotifierWatcher::FakeStatusNotifierWatcher(QDBusConnection bus, Host host)
    : m_bus(std::move(bus)), m_host(host)
{
    m_bus.registerObject(path, this, QDBusConnection::ExportAllContents);
    m_bus.registerService(service);
}

FakeStatusNotifierWatcher::~FakeStatusNotifierWatcher()
{
    m_bus.unregisterService(service);
    m_bus.unregisterObject(path);
}

void FakeStatusNotifierWatcher::setHost(Host host)
{
    m_host = host;
    if (host == Host::Present) {
        Q_EMIT StatusNotifierHostRegistered();
    } else {
        Q_EMIT StatusNotifierHostUnregistered();
    }
}

void FakeStatusNotifierWatcher::restart()
{
    m_items.clear();
    m_bus.unregisterService(service);
    m_bus.registerService(service);
}

bool FakeStatusNotifierWatcher::hasHost() const
{
    m_wasAsked = true;
    return m_host == Host::Present;
}

} // namespace kavrin::test
