// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PeerUser.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

namespace kavrin
{

/// The HTTP/1.1 server (RFC 9112) through which a keyboard reaches the application on this machine: it reads
/// the dictation keys of the shared suite, sends "start" and "stop", and notes which transcript it has used.
/// The contract with a keyboard's author is docs/loopback.md.
///
/// It listens on 127.0.0.1 and, where the machine has IPv6, on ::1, and answers only the user that runs this
/// process: the connection of another user, or of another machine wherever its packets get through, is closed
/// unanswered. So is that of a browser, which acts for a web page (LoopbackSender.h). One connection carries
/// one request, of at most 8192 bytes received at once, and one answer.
///
/// It has two threads of its own, which use nothing but the shared suite: one serves all connections, the
/// other stores, one after the other, what they ask to have stored, and may have to wait for another process
/// that holds the suite. It leaves 128 of the process's descriptors, or half where it has fewer than 256, to
/// the rest of the application: beyond that a client waits until another's connection is closed. Listening
/// raises the process's limit of descriptors to 4096, as far as the system permits.
class Loopback
{
public:
    /// The TCP port that keyboards know.
    static constexpr std::uint16_t port = 49731;

    using PeerUserFunction = std::function<PeerUser(int socket)>;

    /// Gets "start" or "stop", in a thread of the server.
    using CommandFunction = std::function<void(const QString &command)>;

    /// The one server of the application, on `port`. It is never destroyed: once started it serves until the
    /// process ends.
    static Loopback &shared();

    /// A server that is to listen on `listeningPort` (0: any free one) and to ask `peerUser`, on a thread of
    /// its own, whose a connection is.
    explicit Loopback(std::uint16_t listeningPort, PeerUserFunction peerUser = &kavrin::peerUser);

    /// Ends the server: connections that are being served are closed. Waits for what is being stored.
    ~Loopback();

    /// Begins to listen, unless it listens already. Returns without waiting for anything. A failure, such as
    /// a taken port, leaves nothing behind and is logged once; the next call tries anew. Safe from any
    /// thread.
    ///
    /// `notStored` gets each command that could not be stored, for good: the suite will never hold it.
    void start(CommandFunction notStored = [](const QString &) { });

    /// The port that it listens on; 0 while it does not. Safe from any thread.
    [[nodiscard]] std::uint16_t boundPort() const;

private:
    class Server;

    const std::uint16_t m_listeningPort;
    const PeerUserFunction m_peerUser;
    mutable std::mutex m_mutex;
    std::unique_ptr<Server> m_server;
    bool m_hasFailed = false; ///< and said so
};

} // namespace kavrin
