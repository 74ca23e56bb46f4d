// SPDX-License-Identifier: MIT
#include "loopback/LoopbackExchanges.h"

#include "platform/Logging.h"
#include "store/Shared.h"

#include <asio/co_spawn.hpp>
#include <asio/detached.hpp>
#include <asio/experimental/awaitable_operators.hpp>
#include <asio/steady_timer.hpp>
#include <asio/use_awaitable.hpp>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace kavrin
{

namespace
{

using asio::ip::tcp;
using namespace asio::experimental::awaitable_operators;
using namespace std::chrono_literals;

constexpr std::size_t discardLimit = std::size_t(2) * 1024 * 1024;
constexpr auto discardTime = 1s;

asio::awaitable<void> send(LoopbackConnection &connection, std::string_view rest)
{
    while (!rest.empty()) {
        co_await connection.wait(tcp::socket::wait_write);
        rest.remove_prefix(connection.send(rest));
    }
}

asio::awaitable<void> discard(LoopbackConnection &connection)
{
    std::size_t discarded = 0;
    while (discarded < discardLimit) {
        const std::optional<std::size_t> size = connection.discard();
        if (!size) {
            co_await connection.wait(tcp::socket::wait_read);
        } else if (*size == 0) {
            co_return;
        }
        discarded += size.value_or(0);
    }
}

/// Receives and forgets what the client still sends, until it closes, within a bound of bytes and time.
/// Closing with unread input would reset the connection, and an answer on its way would be lost.
asio::awaitable<void> discardRest(LoopbackConnection &connection, asio::io_context &context)
{
    asio::steady_timer timer(context, discardTime);
    connection.finishSending();
    co_await (discard(connection) || timer.async_wait(asio::use_awaitable));
}

/// Sends what is left of an answer. In the thread of the context, as all that waits for a connection.
asio::awaitable<void> finish(std::unique_ptr<LoopbackConnection> connection, bool mayBeFollowed,
                             std::string rest, asio::io_context &context)
{
    co_await send(*connection, rest);
    if (mayBeFollowed) {
        co_await discardRest(*connection, context);
    }
}

} // namespace

LoopbackExchanges::LoopbackExchanges(asio::io_context &context) : m_context(context) { }

void LoopbackExchanges::serve(std::unique_ptr<LoopbackConnection> connection)
{
    std::optional<LoopbackReceipt> receipt = connection->receive();
    if (receipt) {
        carryOut({std::move(connection), *std::move(receipt)});
    } else {
        asio::co_spawn(m_context, serveWhenReceived(std::move(connection)), asio::detached);
    }
}

asio::awaitable<void> LoopbackExchanges::serveWhenReceived(std::unique_ptr<LoopbackConnection> connection)
{
    co_await connection->wait(tcp::socket::wait_read);
    serve(std::move(connection));
}

void LoopbackExchanges::carryOut(Exchange exchange)
{
    std::optional<LoopbackWrite> write = loopbackWrite(exchange.receipt.request);
    if (write) {
        storeLater(*std::move(write), std::move(exchange));
    } else {
        answer(std::move(exchange));
    }
}

void LoopbackExchanges::storeLater(LoopbackWrite write, Exchange exchange)
{
    const std::scoped_lock lock(m_mutex);
    if (m_waiting.empty()) {
        asio::co_spawn(m_writer, storeWaiting(), asio::detached);
    }
    Waiting waiting;
    const auto sameKey = std::ranges::find(
        m_waiting, write.key, [](const Waiting &known) -> const QString & { return known.write.key; });
    if (sameKey != m_waiting.end()) {
        waiting = std::move(*sameKey);
        m_waiting.erase(sameKey);
    }
    waiting.write = std::move(write);
    waiting.exchanges.push_back(std::move(exchange));
    m_waiting.push_back(std::move(waiting));
}

std::vector<LoopbackExchanges::Waiting> LoopbackExchanges::takeWaiting()
{
    const std::scoped_lock lock(m_mutex);
    return std::exchange(m_waiting, {});
}

/// A coroutine, so that an error closes the connections and nothing else.
asio::awaitable<void> LoopbackExchanges::storeWaiting()
{
    for (Waiting &waiting : takeWaiting()) {
        std::ignore = Shared::d().set(waiting.write.key, waiting.write.value);
        for (Exchange &exchange : waiting.exchanges) {
            answer(std::move(exchange));
        }
    }
    co_return;
}

/// Most connections are done with at once, and closed.
void LoopbackExchanges::answer(Exchange exchange)
{
    const std::string answer = loopbackAnswer(exchange.receipt.request);
    qCDebug(Logging::loopback) << "Answering with" << answer.size() << "bytes";
    const std::size_t sent = exchange.connection->send(answer);
    const bool mayBeFollowed = exchange.receipt.mayBeFollowed;
    if (sent < answer.size() || mayBeFollowed) {
        asio::co_spawn(m_context,
                       finish(std::move(exchange.connection), mayBeFollowed, answer.substr(sent), m_context),
                       asio::detached);
    }
}

} // namespace kavrin
