// SPDX-License-Identifier: MIT
#include "loopback/Client.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace kavrin::test
{

namespace
{

union Name {
    sockaddr any;
    sockaddr_in ipv4;
    sockaddr_in6 ipv6;
};

Name nameOf(int family, std::uint16_t port)
{
    Name name = {};
    if (family == AF_INET) {
        name.ipv4.sin_family = AF_INET;
        name.ipv4.sin_port = htons(port);
        name.ipv4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    } else {
        name.ipv6.sin6_family = AF_INET6;
        name.ipv6.sin6_port = htons(port);
        name.ipv6.sin6_addr = in6addr_loopback;
    }
    return name;
}

int familyOf(int socket)
{
    int family = 0;
    socklen_t length = sizeof family;
    getsockopt(socket, SOL_SOCKET, SO_DOMAIN, &family, &length);
    return family;
}

int openSocket(Family family)
{
    const int socket = ::socket(family == Family::Ipv4 ? AF_INET : AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket < 0) {
        throw std::runtime_error("no socket could be opened");
    }
    return socket;
}

void closeOnce(int &socket)
{
    if (socket >= 0) {
        ::close(std::exchange(socket, -1));
    }
}

} // namespace

Client::Client(Family family) : m_socket(openSocket(family))
{
    const timeval limit{.tv_sec = 30, .tv_usec = 0};
    setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

Client::~Client()
{
    close();
}

Client::Client(Client &&other) noexcept : m_socket(std::exchange(other.m_socket, -1)) { }

void Client::moveToDescriptor(int least)
{
    const int moved = ::fcntl(m_socket, F_DUPFD_CLOEXEC, least);
    if (moved < 0) {
        throw std::runtime_error("no descriptor so high is to be had");
    }
    ::close(std::exchange(m_socket, moved));
}

bool Client::connect(std::uint16_t port) const
{
    const Name name = nameOf(familyOf(m_socket), port);
    return ::connect(m_socket, &name.any, sizeof name) == 0;
}

bool Client::send(std::string_view bytes) const
{
    while (!bytes.empty()) {
        const ssize_t sent = ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

void Client::finishSending() const
{
    shutdown(m_socket, SHUT_WR);
}

bool Client::hasReceived(int milliseconds) const
{
    pollfd readable = {m_socket, POLLIN, 0};
    return ::poll(&readable, 1, milliseconds) == 1;
}

bool Client::waitToReceive() const
{
    return hasReceived(30'000);
}

std::optional<std::string> Client::receiveToEnd() const
{
    std::string received;
    std::array<char, 65536> buffer = {};
    for (;;) {
        const ssize_t size = recv(m_socket, buffer.data(), buffer.size(), 0);
        if (size < 0) {
            return std::nullopt;
        }
        if (size == 0) {
            return received;
        }
        received.append(buffer.data(), static_cast<std::size_t>(size));
    }
}

void Client::close()
{
    closeOnce(m_socket);
}

void Client::reset()
{
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    close();
}

TakenPort::TakenPort(Family family) : m_socket(openSocket(family))
{
    Name name = nameOf(familyOf(m_socket), 0);
    socklen_t length = sizeof name;
    if (bind(m_socket, &name.any, length) != 0 || listen(m_socket, 1) != 0
        || getsockname(m_socket, &name.any, &length) != 0) {
        throw std::runtime_error("no port could be taken");
    }
    m_port = ntohs(family == Family::Ipv4 ? name.ipv4.sin_port : name.ipv6.sin6_port);
}

TakenPort::~TakenPort()
{
    release();
}

void TakenPort::release()
{
    closeOnce(m_socket);
}

} // namespace kavrin::test
