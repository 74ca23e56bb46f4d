// SPDX-License-Identifier: MIT
#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

#include <cstdint>
#include <vector>

namespace kavrin
{

/// Listens for the programs of this machine: on 127.0.0.1, and on ::1 where the machine has IPv6. Both have
/// one port, `port` or any free one for 0. Throws asio::system_error where either cannot be listened on.
std::vector<asio::ip::tcp::acceptor> listenOnLoopback(asio::io_context &context, std::uint16_t port);

} // namespace kavrin
