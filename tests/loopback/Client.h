// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kavrin::test
{

enum class Family { Ipv4, Ipv6 };

/// A TCP client that does nothing of its own accord. Calls wait; one that waits for ever is a failed test,
/// and gives up after half a minute.
class Client
{
public:
    /// Opens the socket, not yet connected.
    explicit Client(Family family = Family::Ipv4);
    ~Client();
    Client(Client &&other) noexcept;
    Client &operator=(Client &&) = delete;
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    /// Gives the socket a descriptor of at least `least`, whatever lower ones are free just now.
    void moveToDescriptor(int least);

    /// Connects to `port` on 127.0.0.1 or ::1.
    [[nodiscard]] bool connect(std::uint16_t port) const;

    /// Sends all of `bytes`. False once the server has closed.
    [[nodiscard]] bool send(std::string_view bytes) const;

    /// Says that nothing more will be sent.
    void finishSending() const;

    /// Whether the server has sent something, or does so within so many milliseconds.
    [[nodiscard]] bool hasReceived(int milliseconds = 0) const;

    /// Waits until the server has sent something. False where nothing came in time.
    [[nodiscard]] bool waitToReceive() const;

    /// Everything that the server sends until it says that nothing more will come. None where the connection
    /// was reset instead.
    [[nodiscard]] std::optional<std::string> receiveToEnd() const;

    void close();

    /// Closes so that the server sees a reset.
    void reset();

private:
    int m_socket;
};

/// A socket that keeps a port of 127.0.0.1 or ::1 taken.
class TakenPort
{
public:
    explicit TakenPort(Family family);
    ~TakenPort();
    TakenPort(const TakenPort &) = delete;
    TakenPort &operator=(const TakenPort &) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    void release();

private:
    int m_socket;
    std::uint16_t m_port = 0;
};

} // namespace kavrin::test
