// SPDX-License-Identifier: MIT
#include "loopback/LoopbackConnection.h"

#include <asio/use_awaitable.hpp>

#include <QLatin1StringView>

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace kavrin
{

namespace
{

using asio::ip::tcp;

using Buffer = std::array<char, 8192>;

bool wouldBlock()
{
    return errno == EAGAIN || errno == EWOULDBLOCK;
}

/// What has arrived, nothing at the connection's end or after a failure; none when nothing has arrived.
std::optional<std::string_view> receiveInto(Buffer &buffer, int socket)
{
    const ssize_t size = ::recv(socket, buffer.data(), buffer.size(), 0);
    if (size < 0 && wouldBlock()) {
        return std::nullopt;
    }
    return std::string_view(buffer.data(), size < 0 ? 0 : std::size_t(size));
}

bool mentions(std::string_view text, QLatin1StringView header)
{
    return QLatin1StringView(text.data(), qsizetype(text.size())).contains(header, Qt::CaseInsensitive);
}

/// Whether a client that has sent this has nothing to add: its request ends with the empty line, and no body
/// is announced.
bool isWhole(std::string_view received)
{
    return received.size() < std::tuple_size_v<Buffer> && received.starts_with("GET ")
        && received.ends_with("\r\n\r\n") && !mentions(received, QLatin1StringView("content-length"))
        && !mentions(received, QLatin1StringView("transfer-encoding"));
}

} // namespace

LoopbackConnection::LoopbackConnection(asio::io_context &context, std::atomic<rlim_t> &openConnections)
    : m_context(context), m_openConnections(openConnections)
{
    ++m_openConnections;
}

LoopbackConnection::~LoopbackConnection()
{
    if (!m_socket && m_descriptor >= 0) {
        ::close(m_descriptor);
    }
    --m_openConnections;
}

bool LoopbackConnection::accept(int listeningSocket)
{
    // Past Asio, which asks more of the kernel than this one call.
    auto size = static_cast<socklen_t>(m_peer.capacity());
    m_descriptor = ::accept4(listeningSocket, m_peer.data(), &size, SOCK_NONBLOCK | SOCK_CLOEXEC);
    return m_descriptor >= 0;
}

std::optional<LoopbackReceipt> LoopbackConnection::receive() const
{
    Buffer buffer;
    const std::optional<std::string_view> received = receiveInto(buffer, m_descriptor);
    if (!received) {
        return std::nullopt;
    }
    return LoopbackReceipt{LoopbackRequest::parse(*received), !received->empty() && !isWhole(*received)};
}

std::size_t LoopbackConnection::send(std::string_view answer) const
{
    const ssize_t size = ::send(m_descriptor, answer.data(), answer.size(), MSG_NOSIGNAL);
    if (size < 0) {
        return wouldBlock() ? 0 : answer.size();
    }
    return std::size_t(size);
}

void LoopbackConnection::finishSending() const
{
    ::shutdown(m_descriptor, SHUT_WR);
}

std::optional<std::size_t> LoopbackConnection::discard() const
{
    Buffer buffer;
    const std::optional<std::string_view> received = receiveInto(buffer, m_descriptor);
    return received ? std::optional(received->size()) : std::nullopt;
}

asio::awaitable<void> LoopbackConnection::wait(tcp::socket::wait_type type)
{
    if (!m_socket) {
        m_socket.emplace(m_context, m_peer.protocol(), m_descriptor);
    }
    return m_socket->async_wait(type, asio::use_awaitable);
}

} // namespace kavrin
