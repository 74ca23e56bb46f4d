// SPDX-License-Identifier: MIT
#pragma once

#include "loopback/LoopbackRequest.h"

#include <asio/awaitable.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

#include <sys/resource.h>

#include <atomic>
#include <cstddef>
#include <optional>
#include <string_view>

namespace kavrin
{

/// What a client has sent until now.
struct LoopbackReceipt {
    std::optional<LoopbackRequest> request; ///< none where it is no request
    bool mayBeFollowed = false; ///< whether the client may still be sending
};

/// One connection of the loopback server, counted as long as it exists, and closed when it is destroyed.
/// Nothing here blocks; what is not possible at once can be waited for. The event loop learns of the
/// connection only then: most are answered before. Not thread-safe.
class LoopbackConnection
{
public:
    LoopbackConnection(asio::io_context &context, std::atomic<rlim_t> &openConnections);
    ~LoopbackConnection();
    LoopbackConnection(const LoopbackConnection &) = delete;
    LoopbackConnection &operator=(const LoopbackConnection &) = delete;

    /// Takes the next client of a listening socket, once. False where that failed, with the reason in errno:
    /// EAGAIN where none waits.
    bool accept(int listeningSocket);

    // Below: once it was accepted.

    [[nodiscard]] int socket() const { return m_descriptor; }

    /// Where an administrator has packets for 127.0.0.1 let in from the network, the listener's address alone
    /// keeps nobody out.
    [[nodiscard]] bool isOfThisMachine() const { return m_peer.address().is_loopback(); }

    /// Receives up to 8192 bytes; none when nothing has arrived. A connection that has ended or failed counts
    /// as one that has sent nothing.
    [[nodiscard]] std::optional<LoopbackReceipt> receive() const;

    /// Sends as much as is possible at once; returns how much. A client that is gone counts as one that has
    /// received all of it.
    [[nodiscard]] std::size_t send(std::string_view answer) const;

    /// Tells the client that nothing follows.
    void finishSending() const;

    /// Receives and forgets; returns how much, 0 at the connection's end, none when nothing has arrived.
    [[nodiscard]] std::optional<std::size_t> discard() const;

    /// Until there is something to receive, or room to send. In the thread of the context only.
    asio::awaitable<void> wait(asio::ip::tcp::socket::wait_type type);

private:
    asio::io_context &m_context;
    std::atomic<rlim_t> &m_openConnections;
    asio::ip::tcp::endpoint m_peer;
    int m_descriptor = -1;
    std::optional<asio::ip::tcp::socket> m_socket; ///< since the event loop knows it
};

} // namespace kavrin
