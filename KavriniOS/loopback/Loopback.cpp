// SPDX-License-Identifier: MIT
#include "loopback/Loopback.h"

#include "loopback/LoopbackAnswer.h"
#include "platform/Logging.h"

#include <asio/any_io_executor.hpp>
#include <asio/awaitable.hpp>
#include <asio/bind_executor.hpp>
#include <asio/co_spawn.hpp>
#include <asio/detached.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/ip/v6_only.hpp>
#include <asio/post.hpp>
#include <asio/redirect_error.hpp>
#include <asio/steady_timer.hpp>
#include <asio/this_coro.hpp>
#include <asio/thread_pool.hpp>
#include <asio/use_awaitable.hpp>
#include <asio/write.hpp>

#include <fcntl.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <exception>
#include <optional>
#include <string>
#include <thread>

namespace kavrin
{

namespace
{

using asio::ip::tcp;
using namespace std::chrono_literals;

constexpr std::size_t receiveLimit = 8192;
constexpr std::size_t discardLimit = std::size_t(2) * 1024 * 1024;
constexpr auto discardTime = 1s;
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

tcp::acceptor listenOn(asio::io_context &context, const tcp::endpoint &endpoint)
{
    tcp::acceptor acceptor(context, endpoint.protocol());
    setCloseOnExec(acceptor.native_handle());
    acceptor.set_option(tcp::acceptor::reuse_address(true));
    if (endpoint.protocol() == tcp::v6()) {
        acceptor.set_option(asio::ip::v6_only(true));
    }
    acceptor.bind(endpoint);
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

/// Where an administrator has packets for 127.0.0.1 let in from the network, the listener's address alone
/// keeps nobody out.
bool isOfThisMachine(const tcp::socket &socket)
{
    asio::error_code error;
    const tcp::endpoint peer = socket.remote_endpoint(error);
    return !error && peer.address().is_loopback();
}

/// A socket that counts as an open connection as long as it exists.
struct CountedSocket {
    CountedSocket(tcp::socket accepted, std::atomic<rlim_t> &count)
        : socket(std::move(accepted)), openConnections(count)
    {
        ++openConnections;
    }
    ~CountedSocket() { --openConnections; }
    CountedSocket(const CountedSocket &) = delete;
    CountedSocket &operator=(const CountedSocket &) = delete;

    tcp::socket socket;
    std::atomic<rlim_t> &openConnections;
};

struct Received {
    std::optional<LoopbackRequest> request; ///< none where what was received is none
};

/// Receives once; none when nothing has arrived yet. A connection that has ended or failed counts as one that
/// has sent nothing.
std::optional<Received> receive(tcp::socket &socket)
{
    std::array<char, receiveLimit> received;
    asio::error_code error;
    const std::size_t size = socket.read_some(asio::buffer(received), error);
    if (error == asio::error::would_block) {
        return std::nullopt;
    }
    return Received{LoopbackRequest::parse(std::string_view(received.data(), size))};
}

/// Receives what has arrived and forgets it; returns how much it was.
std::size_t discardReceived(tcp::socket &socket, asio::error_code &error)
{
    std::array<char, receiveLimit> received;
    return socket.read_some(asio::buffer(received), error);
}

/// Receives and forgets what the client still sends, until it closes, within a bound of bytes and time.
/// Closing with unread input would reset the connection, and an answer on its way would be lost.
asio::awaitable<void> discardRest(std::shared_ptr<tcp::socket> socket)
{
    asio::steady_timer timer(socket->get_executor(), discardTime);
    timer.async_wait([weakSocket = std::weak_ptr(socket)](const asio::error_code &error) {
        const std::shared_ptr<tcp::socket> late = weakSocket.lock();
        if (late && !error) {
            asio::error_code ignored;
            late->close(ignored);
        }
    });
    std::size_t discarded = 0;
    while (discarded < discardLimit) {
        asio::error_code error;
        discarded += discardReceived(*socket, error);
        if (error == asio::error::would_block) {
            co_await socket->async_wait(tcp::socket::wait_read, asio::use_awaitable);
        } else if (error) {
            co_return;
        }
    }
}

/// The answer to a request. What may wait does so in the thread of `writers`: all others are answered
/// meanwhile.
asio::awaitable<std::string> answerTo(std::optional<LoopbackRequest> request, asio::thread_pool &writers)
{
    if (!mayWait(request)) {
        co_return loopbackAnswer(request);
    }
    const asio::any_io_executor own = co_await asio::this_coro::executor;
    co_await asio::post(asio::bind_executor(writers, asio::use_awaitable));
    std::string answer = loopbackAnswer(request);
    co_await asio::post(asio::bind_executor(own, asio::use_awaitable));
    co_return answer;
}

/// Serves one connection and closes it. An error throws, which closes it as well.
///
/// The buffers for what is received live in plain functions, not here, so a connection that stays silent
/// costs little.
asio::awaitable<void> serve(std::shared_ptr<tcp::socket> socket, asio::thread_pool &writers)
{
    std::optional<Received> received = receive(*socket);
    while (!received) {
        co_await socket->async_wait(tcp::socket::wait_read, asio::use_awaitable);
        received = receive(*socket);
    }
    const std::string answer = co_await answerTo(std::move(received->request), writers);
    qCDebug(Logging::loopback) << "Answering with" << answer.size() << "bytes";
    co_await asio::async_write(*socket, asio::buffer(answer), asio::use_awaitable);
    socket->shutdown(tcp::socket::shutdown_send);
    co_await discardRest(std::move(socket));
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
    void take(tcp::socket socket);
    void run();

    const PeerUserFunction &m_peerUser;
    std::uint16_t m_port = 0;
    std::atomic<rlim_t> m_openConnections = 0;
    asio::io_context m_context{1};
    asio::thread_pool m_writers{1};
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
        bool mustWait = m_openConnections >= connectionLimit();
        if (!mustWait) {
            try {
                take(co_await acceptor.async_accept(asio::use_awaitable));
            } catch (const std::exception &) {
                mustWait = true;
            }
        }
        if (mustWait) {
            asio::error_code ignored;
            pause.expires_after(pauseWithoutDescriptors);
            co_await pause.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
        }
    }
}

/// Starts serving a connection, unless it is another machine's or another user's.
void Loopback::Listener::take(tcp::socket socket)
{
    if (!isOfThisMachine(socket) || m_peerUser(socket.native_handle()) == PeerUser::Other) {
        qCInfo(Logging::loopback) << "Somebody else's connection closed";
        return;
    }
    setCloseOnExec(socket.native_handle());
    socket.non_blocking(true);
    const auto counted = std::make_shared<CountedSocket>(std::move(socket), m_openConnections);
    asio::co_spawn(m_context, serve(std::shared_ptr<tcp::socket>(counted, &counted->socket), m_writers),
                   asio::detached);
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
