// SPDX-License-Identifier: MIT
#include "loopback/LoopbackService.h"

#include "loopback/LoopbackSender.h"
#include "platform/Logging.h"
#include "store/DictationKeys.h"
#include "store/Shared.h"

#include <QLatin1StringView>
#include <QString>

#include <asio/buffer.hpp>
#include <asio/co_spawn.hpp>
#include <asio/experimental/awaitable_operators.hpp>
#include <asio/redirect_error.hpp>
#include <asio/steady_timer.hpp>
#include <asio/use_awaitable.hpp>
#include <asio/write.hpp>

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

namespace kavrin
{

namespace
{

using asio::ip::tcp;
using namespace Qt::StringLiterals;
using namespace asio::experimental::awaitable_operators;
using namespace std::chrono_literals;

using Buffer = std::array<char, 8192>;

constexpr std::size_t discardLimit = std::size_t(2) * 1024 * 1024;
constexpr auto discardTime = 1s;

/// What arrives first. A connection that has ended or failed counts as one that has sent nothing.
asio::awaitable<std::string_view> receive(tcp::socket &socket, Buffer &buffer)
{
    asio::error_code ended;
    const std::size_t size =
        co_await socket.async_receive(asio::buffer(buffer), asio::redirect_error(asio::use_awaitable, ended));
    co_return std::string_view(buffer.data(), size);
}

asio::awaitable<void> discard(tcp::socket &socket, Buffer &buffer)
{
    asio::error_code ended;
    for (std::size_t discarded = 0; discarded < discardLimit && !ended;) {
        discarded += co_await socket.async_receive(asio::buffer(buffer),
                                                   asio::redirect_error(asio::use_awaitable, ended));
    }
}

/// Receives and forgets what the client still sends, until it closes, within a bound of bytes and time.
/// Closing with unread input would reset the connection, and an answer on its way would be lost.
asio::awaitable<void> drain(tcp::socket &socket, Buffer &buffer)
{
    asio::error_code ignored;
    socket.shutdown(tcp::socket::shutdown_send, ignored);
    asio::steady_timer timer(socket.get_executor(), discardTime);
    co_await (discard(socket, buffer)
              || timer.async_wait(asio::redirect_error(asio::use_awaitable, ignored)));
}

/// Whether a client that has sent this may have more to send: its request does not end with the empty line,
/// or a body may follow that. Most clients need not be waited for.
bool mayBeFollowed(std::string_view received)
{
    const QLatin1StringView text(received.data(), qsizetype(received.size()));
    return received.size() == std::tuple_size_v<Buffer> || !text.startsWith("GET "_L1)
        || !text.endsWith("\r\n\r\n"_L1) || text.contains("content-length"_L1, Qt::CaseInsensitive)
        || text.contains("transfer-encoding"_L1, Qt::CaseInsensitive);
}

} // namespace

LoopbackService::LoopbackService(std::function<PeerUser(int socket)> peerUser,
                                 std::function<void(const QString &command)> notStored)
    : m_peerUser(std::move(peerUser)), m_notStored(std::move(notStored))
{
}

asio::awaitable<void> LoopbackService::serve(tcp::socket socket, tcp::endpoint peer)
{
    // Where an administrator has packets for 127.0.0.1 let in from the network, the listener's address alone
    // keeps nobody out.
    if (!peer.address().is_loopback() || m_peerUser(socket.native_handle()) == PeerUser::Other) {
        qCInfo(Logging::loopback) << "Somebody else's connection closed";
        co_return;
    }
    Buffer buffer;
    const std::string_view received = co_await receive(socket, buffer);
    const LoopbackSender sender = loopbackSender(received, buffer.size());
    if (sender == LoopbackSender::Browser) {
        qCInfo(Logging::loopback) << "A browser's connection closed";
        co_return;
    }
    std::optional<LoopbackRequest> request = LoopbackRequest::parse(received);
    if (sender == LoopbackSender::Unknown) {
        request = withoutEffect(std::move(request));
    }
    const std::optional<LoopbackWrite> write = loopbackWrite(request);
    if (write) {
        co_await asio::co_spawn(m_writer, store(*write, QDeadlineTimer(UserDefaults::patience)),
                                asio::use_awaitable);
    }
    const std::string answer = loopbackAnswer(request);
    qCDebug(Logging::loopback) << "Answering with" << answer.size() << "bytes";
    co_await asio::async_write(socket, asio::buffer(answer), asio::use_awaitable);
    if (mayBeFollowed(received)) {
        co_await drain(socket, buffer);
    }
}

/// In the writer's thread: it may have to wait for another process that holds the suite. The answer is the
/// same whether it can store or not.
asio::awaitable<void> LoopbackService::store(LoopbackWrite write, QDeadlineTimer limit)
{
    const std::optional<Error> failure = Shared::d().write({{write.key, write.value}}, limit);
    if (failure && write.key == dictation::commandKey) {
        m_notStored(std::get<QString>(write.value));
    }
    co_return;
}

} // namespace kavrin
