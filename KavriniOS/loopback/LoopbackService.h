// SPDX-License-Identifier: MIT
#pragma once

#include "loopback/LoopbackAnswer.h"
#include "platform/PeerUser.h"
#include "platform/UserDefaults.h"

#include <asio/awaitable.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/thread_pool.hpp>

#include <functional>

namespace kavrin
{

/// Serves the connections of a loopback server. It has a thread of its own, which stores what the requests
/// ask to have stored, one after the other.
class LoopbackService
{
public:
    /// Asks `peerUser`, in the thread that serves, whose a connection is. Hands each command that could not
    /// be stored to `notStored`, in the thread that stores.
    LoopbackService(std::function<PeerUser(int socket)> peerUser,
                    std::function<void(const QString &command)> notStored);

    /// One connection from its beginning to its end: its one request, what that asks for, and the answer. An
    /// error ends it, too, with an exception. It must not outlive this object; the executor of `socket` runs
    /// it, which has to be one thread's.
    asio::awaitable<void> serve(asio::ip::tcp::socket socket, asio::ip::tcp::endpoint peer);

private:
    asio::awaitable<void> store(LoopbackWrite write, QDeadlineTimer limit);

    const std::function<PeerUser(int socket)> m_peerUser;
    const std::function<void(const QString &command)> m_notStored;
    asio::thread_pool m_writer{1};
};

} // namespace kavrin
