// SPDX-License-Identifier: MIT
#pragma once

#include "support/ChildProcess.h"

#include <QDBusConnection>

#include <optional>

namespace kavrin::test
{

/// A message bus of this process's own, with no service but those that a test registers. Needs a PrivateHome.
class PrivateBus
{
public:
    /// Starts the bus and makes `variable` ("DBUS_SESSION_BUS_ADDRESS") lead to it; throws
    /// std::runtime_error.
    explicit PrivateBus(const char *variable);
    ~PrivateBus();

    PrivateBus(const PrivateBus &) = delete;
    PrivateBus &operator=(const PrivateBus &) = delete;

    /// A connection apart from the one that the code under test uses.
    [[nodiscard]] QDBusConnection connection() const { return m_connection; }

private:
    std::optional<ChildProcess> m_daemon;
    QDBusConnection m_connection;
};

} // namespace kavrin::test
