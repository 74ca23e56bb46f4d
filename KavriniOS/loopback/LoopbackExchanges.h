// SPDX-License-Identifier: MIT
#pragma once

#include "loopback/LoopbackAnswer.h"
#include "loopback/LoopbackConnection.h"

#include <asio/awaitable.hpp>
#include <asio/io_context.hpp>
#include <asio/thread_pool.hpp>

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace kavrin
{

/// The exchanges of the loopback server: takes the one request of each connection, sees to it that what it
/// asks for is stored, answers, and closes.
///
/// Storing may have to wait for another process that holds the suite, and so has a thread of its own. What is
/// asked for meanwhile is then stored at once, of several values for one key the last, as nobody could see
/// the others. What is asked for several times in a row, as by a keyboard that repeats its command until it
/// is obeyed, is not stored again while it stands there.
class LoopbackExchanges
{
public:
    /// For connections of `context`, which must outlive this and be run by one thread.
    explicit LoopbackExchanges(asio::io_context &context);

    /// In the thread of the context. An error closes the connection.
    void serve(std::unique_ptr<LoopbackConnection> connection);

private:
    struct Exchange {
        std::unique_ptr<LoopbackConnection> connection;
        LoopbackReceipt receipt;
    };

    /// A value that is to be stored, and who wait for that.
    struct Waiting {
        LoopbackWrite write;
        std::vector<Exchange> exchanges;
    };

    asio::awaitable<void> serveWhenReceived(std::unique_ptr<LoopbackConnection> connection);
    void carryOut(Exchange exchange);
    void storeLater(LoopbackWrite write, Exchange exchange);
    asio::awaitable<void> storeWaiting();
    std::vector<Waiting> takeWaiting();
    void answer(Exchange exchange);

    asio::io_context &m_context;
    std::mutex m_mutex;
    std::vector<Waiting> m_waiting; ///< one for a key, that of the last value last
    asio::thread_pool m_writer{1};
};

} // namespace kavrin
