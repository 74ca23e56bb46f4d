// SPDX-License-Identifier: MIT
#include "loopback/LoopbackConnection.h"

#include <asio/use_awaitable.hpp>

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace kavrin
{

namespace
{

using asio::ip::tcp;

constexpr std::size_t receiveLimit = 8192;

bool wouldBlock()
{
    return errno == EAGAIN || errno == EWOULDBLOCK;
}

/// A request without a body ends with its empty line, and its client has nothing to add.
bool isWhole(std::string_view received)
{
    return received.starts_with("GET ") && received.ends_with("\r\n\r\n");
}

} // namespace

LoopbackConnection::LoopbackConnection(asio::io_context &context, const tcp &protocol, int socket,
                                       std::atomic<rlim_t> &openConnections)
    : m_context(context), m_protocol(protocol), m_descriptor(socket), m_openConnections(openConnections)
{
    ++m_openConnections;
}

LoopbackConnection::~LoopbackConnection()
{
    if (!m_socket) {
        ::close(m_descriptor);
    }
    --m_openConnections;
}

std::optional<LoopbackReceipt> LoopbackConnection::receive() const
{
    std::array<char, receiveLimit> buffer;
    const ssize_t size = ::recv(m_descriptor, buffer.data(), buffer.size(), 0);
    if (size < 0 && wouldBlock()) {
        return std::nullopt;
    }
    const std::string_view received(buffer.data(), size < 0 ? 0 : std::size_t(size));
    return LoopbackReceipt{LoopbackRequest::parse(received), size > 0 && !isWhole(received)};
}

std::size_t LoopbackConnection::send(std::string_view answer) const
{
    const ssize_t size = ::send(m_descriptor, answer.data(), answer.size(), MSG_NOSIGNAL);
    if (size < 0 && !wouldBlock()) {
        throw std::system_error(errno, std::system_category());
    }
    return size < 0 ? 0 : std::size_t(size);
}

void LoopbackConnection::finishSending() const
{
    ::shutdown(m_descriptor, SHUT_WR);
}

std::optional<std::size_t> LoopbackConnection::discard() const
{
    std::array<char, receiveLimit> buffer;
    const ssize_t size = ::recv(m_descriptor, buffer.data(), buffer.size(), 0);
    if (size < 0 && wouldBlock()) {
        return std::nullopt;
    }
    return size < 0 ? 0 : std::size_t(size);
}

asio::awaitable<void> LoopbackConnection::wait(tcp::socket::wait_type type)
{
    if (!m_socket) {
        m_socket.emplace(m_context, m_protocol, m_descriptor);
    }
    return m_socket->async_wait(type, asio::use_awaitable);
}

} // namespace kavrin
