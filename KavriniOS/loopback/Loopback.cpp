// SPDX-License-Identifier: MIT
#include "loopback/Loopback.h"

#include "loopback/LoopbackConnection.h"
#include "loopback/LoopbackExchanges.h"
#include "platform/Logging.h"

#include <asio/awaitable.hpp>
#include <asio/co_spawn.hpp>
#include <asio/detached.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/ip/v6_only.hpp>
#include <asio/redirect_error.hpp>
#include <asio/steady_timer.hpp>
#include <asio/use_awaitable.hpp>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <exception>
#include <optional>
#include <thread>

namespace kavrin
{

namespace
{

using asio::ip::tcp;
using namespace std::chrono_literals;

constexpr int takenAtOnce = 64;
constexpr auto pauseWithoutDescriptors = 50ms;
constexpr rlim_t wantedDescriptors = 4096;
constexpr rlim_t reservedDescriptors = 128;

/// Asks for more descriptors than are usual, 1024, of which a thousand silent connections would leave too
/// few.
void raiseDescriptorLimit()
{
    rlimit limits = {};
    if (::getrlimit(RLIMIT_NOFILE, &limits) == 0) {
        limits.rlim_cur = std::max(limits.rlim_cur, std::min(limits.rlim_max, wantedDescriptors));
        ::setrlimit(RLIMIT_NOFILE, &limits);
    }
}

/// How many connections may be open at once. The other descriptors are for the rest of the application:
/// clients must not keep it from recording and transcribing.
rlim_t connectionLimit()
{
    rlimit limits = {};
    ::getrlimit(RLIMIT_NOFILE, &limits);
    return limits.rlim_cur - std::min(limits.rlim_cur / 2, reservedDescriptors);
}

/// A child process that outlives the application must hold neither its port nor its connections.
void setCloseOnExec(int descriptor)
{
    ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

/// Connections are then taken when their request is there to be read, and wait in the kernel until then:
/// tcp(7).
void deferUntilDataArrives(int listeningSocket)
{
    const int seconds = 1;
    ::setsockopt(listeningSocket, IPPROTO_TCP, TCP_DEFER_ACCEPT, &seconds, sizeof seconds);
}

tcp::acceptor listenOn(asio::io_context &context, const tcp::endpoint &endpoint)
{
    tcp::acceptor acceptor(context, endpoint.protocol());
    setCloseOnExec(acceptor.native_handle());
    acceptor.set_option(tcp::acceptor::reuse_address(true));
    if (endpoint.protocol() == tcp::v6()) {
        acceptor.set_option(asio::ip::v6_only(true));
    }
    acceptor.bind(endpoint);
    deferUntilDataArrives(acceptor.native_handle());
    acceptor.listen();
    return acceptor;
}

/// As listenOn() for ::1, or none on a machine without IPv6.
std::optional<tcp::acceptor> listenOnIpv6(asio::io_context &context, std::uint16_t port)
{
    try {
        return listenOn(context, tcp::endpoint(asio::ip::address_v6::loopback(), port));
    } catch (const asio::system_error &error) {
        const int code = error.code().value();
        if (code != EAFNOSUPPORT && code != EADDRNOTAVAIL) {
            throw;
        }
        return std::nullopt;
    }
}

} // namespace

class Loopback::Listener
{
public:
    /// Null where the port cannot be listened on.
    static std::unique_ptr<Listener> open(std::uint16_t port, const PeerUserFunction &peerUser);

    /// Throws where the port cannot be listened on.
    Listener(std::uint16_t port, const PeerUserFunction &peerUser);

    [[nodiscard]] std::uint16_t port() const { return m_port; }

private:
    /// Lets the thread return when it is destroyed, before it is joined.
    struct Stop {
        ~Stop() { context.stop(); }
        asio::io_context &context;
    };

    asio::awaitable<void> accept(tcp::acceptor acceptor);
    bool takeThoseThatWait(int listeningSocket);
    void take(std::unique_ptr<LoopbackConnection> connection);
    void run();

    const PeerUserFunction &m_peerUser;
    std::uint16_t m_port = 0;
    std::atomic<rlim_t> m_openConnections = 0;
    asio::io_context m_context{1};
    LoopbackExchanges m_exchanges{m_context};
    std::jthread m_thread;
    Stop m_stop{m_context};
};

std::unique_ptr<Loopback::Listener> Loopback::Listener::open(std::uint16_t port,
                                                             const PeerUserFunction &peerUser)
{
    try {
        return std::make_unique<Listener>(port, peerUser);
    } catch (const std::exception &error) {
        qCWarning(Logging::loopback) << "No server on port" << port << error.what();
        return nullptr;
    }
}

Loopback::Listener::Listener(std::uint16_t port, const PeerUserFunction &peerUser) : m_peerUser(peerUser)
{
    raiseDescriptorLimit();
    tcp::acceptor ipv4 = listenOn(m_context, tcp::endpoint(asio::ip::address_v4::loopback(), port));
    m_port = ipv4.local_endpoint().port();
    qCInfo(Logging::loopback) << "Serving on port" << m_port;
    std::optional<tcp::acceptor> ipv6 = listenOnIpv6(m_context, m_port);

    asio::co_spawn(m_context, accept(std::move(ipv4)), asio::detached);
    if (ipv6) {
        asio::co_spawn(m_context, accept(*std::move(ipv6)), asio::detached);
    }
    m_thread = std::jthread([this] { run(); });
}

/// Takes connections for ever. When there are no more descriptors or memory, it waits a little for some to be
/// freed.
asio::awaitable<void> Loopback::Listener::accept(tcp::acceptor acceptor)
{
    asio::steady_timer pause(m_context);
    for (;;) {
        bool canTakeMore = true;
        try {
            co_await acceptor.async_wait(tcp::acceptor::wait_read, asio::use_awaitable);
            canTakeMore = takeThoseThatWait(acceptor.native_handle());
        } catch (const std::exception &) {
            canTakeMore = false;
        }
        if (!canTakeMore) {
            asio::error_code ignored;
            pause.expires_after(pauseWithoutDescriptors);
            co_await pause.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
        }
    }
}

/// Some at a time, so that others are served in between. False where there is no room for more at present.
bool Loopback::Listener::takeThoseThatWait(int listeningSocket)
{
    const rlim_t limit = connectionLimit();
    for (int taken = 0; taken < takenAtOnce; ++taken) {
        if (m_openConnections >= limit) {
            return false;
        }
        auto connection = std::make_unique<LoopbackConnection>(m_context, m_openConnections);
        if (!connection->accept(listeningSocket)) {
            return errno == EAGAIN || errno == EINTR || errno == ECONNABORTED;
        }
        take(std::move(connection));
    }
    return true;
}

/// Starts serving a connection, unless it is another machine's or another user's.
void Loopback::Listener::take(std::unique_ptr<LoopbackConnection> connection)
{
    if (!connection->isOfThisMachine() || m_peerUser(connection->socket()) == PeerUser::Other) {
        qCInfo(Logging::loopback) << "Somebody else's connection closed";
        return;
    }
    m_exchanges.serve(std::move(connection));
}

void Loopback::Listener::run()
{
    while (!m_context.stopped()) {
        try {
            m_context.run();
        } catch (const std::exception &) {
            // Out of memory: other threads may free some.
            std::this_thread::yield();
        }
    }
}

Loopback &Loopback::shared()
{
    static Loopback *const shared = new Loopback(port);
    return *shared;
}

Loopback::Loopback(std::uint16_t listeningPort, PeerUserFunction peerUser)
    : m_listeningPort(listeningPort), m_peerUser(std::move(peerUser))
{
}

Loopback::~Loopback() = default;

void Loopback::start()
{
    const std::lock_guard lock(m_mutex);
    if (!m_listener) {
        m_listener = Listener::open(m_listeningPort, m_peerUser);
    }
}

std::uint16_t Loopback::boundPort() const
{
    const std::lock_guard lock(m_mutex);
    return m_listener ? m_listener->port() : 0;
}

} // namespace kavrin
