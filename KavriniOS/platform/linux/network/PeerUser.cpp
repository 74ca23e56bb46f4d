// SPDX-License-Identifier: MIT
#include "platform/PeerUser.h"

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <optional>

// Socket diagnostics over netlink: sock_diag(7).

namespace kavrin
{

namespace
{

/// One end of a connection in the form of socket diagnostics: network byte order, with an IPv4 address in the
/// first of the four words.
struct End {
    std::uint8_t family = 0;
    in_port_t port = 0;
    std::array<std::uint32_t, 4> address = {};
};

End ipv4End(const sockaddr_in &name)
{
    return End{AF_INET, name.sin_port, {name.sin_addr.s_addr}};
}

End ipv6End(const sockaddr_in6 &name)
{
    End end{AF_INET6, name.sin6_port, {}};
    std::memcpy(end.address.data(), &name.sin6_addr, sizeof name.sin6_addr);
    if (IN6_IS_ADDR_V4MAPPED(&name.sin6_addr)) {
        // The connection itself uses IPv4.
        return End{AF_INET, end.port, {end.address[3]}};
    }
    return end;
}

using NameFunction = int (*)(int socket, sockaddr *name, socklen_t *length);

/// The end that `nameOf` (getsockname() or getpeername()) gives, or none if it is not one of TCP.
std::optional<End> endOf(int socket, NameFunction nameOf)
{
    union {
        sockaddr any;
        sockaddr_in ipv4;
        sockaddr_in6 ipv6;
    } name = {};
    socklen_t length = sizeof name;
    if (nameOf(socket, &name.any, &length) != 0) {
        return std::nullopt;
    }
    switch (name.any.sa_family) {
    case AF_INET:
        return ipv4End(name.ipv4);
    case AF_INET6:
        return ipv6End(name.ipv6);
    default:
        return std::nullopt;
    }
}

struct Request {
    nlmsghdr header;
    inet_diag_req_v2 body;
};

/// Asks for the socket with `source` as its own end and `destination` as its other one.
Request makeRequest(const End &source, const End &destination, std::uint32_t sequence)
{
    Request request = {};
    request.header.nlmsg_len = sizeof request;
    request.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    request.header.nlmsg_flags = NLM_F_REQUEST;
    request.header.nlmsg_seq = sequence;
    request.body.sdiag_family = source.family;
    request.body.sdiag_protocol = IPPROTO_TCP;
    request.body.id.idiag_sport = source.port;
    request.body.id.idiag_dport = destination.port;
    std::memcpy(request.body.id.idiag_src, source.address.data(), sizeof request.body.id.idiag_src);
    std::memcpy(request.body.id.idiag_dst, destination.address.data(), sizeof request.body.id.idiag_dst);
    request.body.id.idiag_cookie[0] = INET_DIAG_NOCOOKIE;
    request.body.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    return request;
}

/// A netlink socket for diagnostics. It is opened when it is first needed, and again after an error.
class Diagnostics
{
public:
    Diagnostics() = default;
    ~Diagnostics() { close(); }
    Diagnostics(const Diagnostics &) = delete;
    Diagnostics &operator=(const Diagnostics &) = delete;

    /// The socket with these two ends. None if there is no such socket, or if the kernel cannot tell.
    std::optional<inet_diag_msg> find(const End &source, const End &destination)
    {
        const Request request = makeRequest(source, destination, ++m_sequence);
        if (!open() || ::send(m_socket, &request, sizeof request, 0) != sizeof request) {
            close();
            return std::nullopt;
        }
        const std::optional<inet_diag_msg> found = answer();
        // If no connection has these ends, the kernel offers a listening socket on the port.
        if (!found || found->id.idiag_dport != destination.port) {
            return std::nullopt;
        }
        return found;
    }

private:
    bool open()
    {
        if (m_socket < 0) {
            m_socket = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG);
        }
        return m_socket >= 0;
    }

    void close()
    {
        if (m_socket >= 0) {
            ::close(m_socket);
        }
        m_socket = -1;
    }

    /// The answer to the last request. The kernel has queued it before send() returned.
    std::optional<inet_diag_msg> answer()
    {
        struct {
            nlmsghdr header;
            inet_diag_msg body;
        } message = {};
        const ssize_t size = ::recv(m_socket, &message, sizeof message, MSG_DONTWAIT);
        if (size < static_cast<ssize_t>(sizeof message.header) || message.header.nlmsg_seq != m_sequence) {
            close();
            return std::nullopt;
        }
        if (message.header.nlmsg_type != SOCK_DIAG_BY_FAMILY || size < static_cast<ssize_t>(sizeof message)) {
            return std::nullopt;
        }
        return message.body;
    }

    int m_socket = -1;
    std::uint32_t m_sequence = 0;
};

} // namespace

PeerUser peerUser(int socket)
{
    thread_local Diagnostics diagnostics;

    const std::optional<End> own = endOf(socket, getsockname);
    const std::optional<End> peer = endOf(socket, getpeername);
    if (!own || !peer) {
        return PeerUser::Gone;
    }
    const std::optional<inet_diag_msg> found = diagnostics.find(*peer, *own);
    // A socket that its process has closed stays for a while without an inode, and the kernel no longer tells
    // its user.
    if (!found || found->idiag_inode == 0) {
        return PeerUser::Gone;
    }
    return found->idiag_uid == geteuid() ? PeerUser::Same : PeerUser::Other;
}

} // namespace kavrin
