// SPDX-License-Identifier: MIT
#include "loopback/Loopback.h"

#include "loopback/LoopbackListening.h"
#include "loopback/LoopbackService.h"
#include "platform/Descriptors.h"
#include "platform/Logging.h"

#include <asio/co_spawn.hpp>
#include <asio/detached.hpp>
#include <asio/error.hpp>
#include <asio/redirect_error.hpp>
#include <asio/steady_timer.hpp>
#include <asio/use_awaitable.hpp>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <exception>
#include <thread>
#include <utility>

namespace kavrin
{

namespace
{

using asio::ip::tcp;
using namespace std::chrono_literals;

constexpr auto pauseWithoutRoom = 50ms;
/// More than are usual, 1024, of which a thousand silent connections would leave too few.
constexpr std::size_t wantedDescriptors = 4096;
constexpr std::size_t reservedDescriptors = 128;

/// How many connections may be open at once. The other descriptors are for the rest of the application:
/// clients must not keep it from recording and transcribing.
std::size_t connectionLimit()
{
    const std::size_t descriptors = descriptorLimit();
    return descriptors - std::min(descriptors / 2, reservedDescriptors);
}

asio::awaitable<void> pause(asio::io_context &context)
{
    asio::steady_timer timer(context, pauseWithoutRoom);
    co_await timer.async_wait(asio::use_awaitable);
}

} // namespace

/// A server that listens.
class Loopback::Server
{
public:
    /// Throws where the port cannot be listened on.
    Server(std::uint16_t port, const PeerUserFunction &peerUser, CommandFunction notStored);
    ~Server() { m_context.stop(); }
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }

private:
    asio::awaitable<void> accept(tcp::acceptor acceptor);
    void serve(tcp::socket socket, const tcp::endpoint &peer);

    std::uint16_t m_port = 0;
    std::size_t m_openConnections = 0;
    asio::io_context m_context{1};
    LoopbackService m_service;
    std::jthread m_thread;
};

Loopback::Server::Server(std::uint16_t port, const PeerUserFunction &peerUser, CommandFunction notStored)
    : m_service(peerUser, std::move(notStored))
{
    raiseDescriptorLimit(wantedDescriptors);
    for (tcp::acceptor &acceptor : listenOnLoopback(m_context, port)) {
        m_port = acceptor.local_endpoint().port();
        asio::co_spawn(m_context, accept(std::move(acceptor)), asio::detached);
    }
    m_thread = std::jthread([this] { m_context.run(); });
    qCInfo(Logging::loopback) << "Serving on port" << m_port;
}

/// Takes connections for ever. Where there is no room for one more it waits a little for another's end.
asio::awaitable<void> Loopback::Server::accept(tcp::acceptor acceptor)
{
    for (;;) {
        tcp::socket socket(m_context);
        tcp::endpoint peer;
        asio::error_code error = asio::error::no_descriptors;
        if (m_openConnections < connectionLimit()) {
            co_await acceptor.async_accept(socket, peer, asio::redirect_error(asio::use_awaitable, error));
        }
        if (error) {
            co_await pause(m_context);
        } else {
            serve(std::move(socket), peer);
        }
    }
}

void Loopback::Server::serve(tcp::socket socket, const tcp::endpoint &peer)
{
    setCloseOnExec(socket.native_handle());
    ++m_openConnections;
    asio::co_spawn(m_context, m_service.serve(std::move(socket), peer),
                   [this](const std::exception_ptr &) { --m_openConnections; });
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

void Loopback::start(CommandFunction notStored)
{
    const std::lock_guard lock(m_mutex);
    if (m_server) {
        return;
    }
    try {
        m_server = std::make_unique<Server>(m_listeningPort, m_peerUser, std::move(notStored));
    } catch (const std::exception &error) {
        if (!std::exchange(m_hasFailed, true)) {
            qCWarning(Logging::loopback) << "No server on port" << m_listeningPort << error.what();
        }
    }
}

std::uint16_t Loopback::boundPort() const
{
    const std::lock_guard lock(m_mutex);
    return m_server ? m_server->port() : 0;
}

} // namespace kavrin
