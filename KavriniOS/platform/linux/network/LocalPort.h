// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace kavrin
{

/// Who listens on a port of this machine.
enum class PortOwner {
    Nobody,
    User, ///< a program of the user that runs this process
    Stranger, ///< a program of another user
};

/// Who listens on `port` of a loopback address or of all addresses, as the system lists it: proc_net(5).
PortOwner portOwner(std::uint16_t port);

} // namespace kavrin
