// SPDX-License-Identifier: MIT
#include "loopback/LoopbackCase.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <new>
#include <string>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

bool isRefused(const sockaddr *address, socklen_t length)
{
    const int socket = ::socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket < 0) {
        return false;
    }
    const bool refused = connect(socket, address, length) != 0 && errno == ECONNREFUSED;
    close(socket);
    return refused;
}

TEST(LoopbackStrangers, AreRefusedOnEveryOtherAddressOfTheMachine)
{
    Loopback loopback(0);
    const std::uint16_t port = portOf(loopback);
    sockaddr_in other = {};
    other.sin_family = AF_INET;
    other.sin_port = htons(port);
    other.sin_addr.s_addr = htonl(INADDR_LOOPBACK + 1);
    EXPECT_TRUE(isRefused(reinterpret_cast<const sockaddr *>(&other), sizeof other));

    ifaddrs *addresses = nullptr;
    ASSERT_EQ(getifaddrs(&addresses), 0);
    for (const ifaddrs *address = addresses; address != nullptr; address = address->ifa_next) {
        if (address->ifa_addr == nullptr || address->ifa_addr->sa_family != AF_INET) {
            continue;
        }
        other = *reinterpret_cast<const sockaddr_in *>(address->ifa_addr);
        other.sin_port = htons(port);
        SCOPED_TRACE(address->ifa_name);
        if (other.sin_addr.s_addr != htonl(INADDR_LOOPBACK)) {
            EXPECT_TRUE(isRefused(reinterpret_cast<const sockaddr *>(&other), sizeof other));
        }
    }
    freeifaddrs(addresses);
}

TEST(LoopbackStrangers, LeavesAnotherUserUnanswered)
{
    Loopback loopback(0, [](int) { return PeerUser::Other; });
    const Client client;
    ASSERT_TRUE(client.connect(portOf(loopback)));
    // The connection may be closed before all is sent.
    static_cast<void>(client.send("GET /cmd?v=start HTTP/1.1\r\n\r\n"));
    EXPECT_EQ(client.receiveToEnd().value_or(""), "");
    EXPECT_EQ(stored(u"dictationCommand"_s), std::nullopt);
}

TEST(LoopbackStrangers, LeavesABrowserUnanswered)
{
    Loopback loopback(0);
    const std::uint16_t port = portOf(loopback);
    for (const std::string header : {"Origin: null", "Sec-Fetch-Site: none", "Host: page.example"}) {
        SCOPED_TRACE(header);
        EXPECT_EQ(answerTo(port, "GET /cmd?v=start HTTP/1.1\r\n" + header + "\r\n\r\n"), "");
    }
    EXPECT_EQ(stored(u"dictationCommand"_s), std::nullopt);
}

TEST(LoopbackStrangers, AnswersWhereTheUserCannotBeTold)
{
    Loopback loopback(0, [](int) { return PeerUser::Gone; });
    EXPECT_EQ(answerTo(portOf(loopback), "GET /cmd?v=start HTTP/1.1\r\n\r\n"), answerWith(done));
    EXPECT_EQ(stored(u"dictationCommand"_s), PropertyListValue(u"start"_s));
}

TEST(LoopbackStrangers, AsksWhoseEachConnectionIs)
{
    std::atomic<int> asked = 0;
    Loopback loopback(0, [&](int socket) {
        ++asked;
        return peerUser(socket);
    });
    const std::uint16_t port = portOf(loopback);
    EXPECT_EQ(answerTo(port, "GET /cmd HTTP/1.1\r\n\r\n", Family::Ipv4), answerWith(done));
    EXPECT_EQ(answerTo(port, "GET /cmd HTTP/1.1\r\n\r\n", Family::Ipv6), answerWith(done));
    EXPECT_EQ(asked, 2);
}

TEST(LoopbackStrangers, OutlivesAQuestionThatFails)
{
    std::atomic<bool> first = true;
    Loopback loopback(0, [&](int) {
        if (first.exchange(false)) {
            throw std::bad_alloc();
        }
        return PeerUser::Same;
    });
    const std::uint16_t port = portOf(loopback);
    EXPECT_NE(answerTo(port, "GET /cmd HTTP/1.1\r\n\r\n"), answerWith(done));
    EXPECT_EQ(answerTo(port, "GET /cmd HTTP/1.1\r\n\r\n"), answerWith(done));
}

TEST(LoopbackStrangers, KeepsItsSocketsFromOtherPrograms)
{
    Loopback loopback(0);
    const std::uint16_t port = portOf(loopback);
    const Client silent;
    ASSERT_TRUE(silent.connect(port));
    EXPECT_EQ(answerTo(port, "GET /cmd HTTP/1.1\r\n\r\n"), answerWith(done)) << "taken after the silent one";

    const QFileInfoList descriptors =
        QDir(u"/proc/self/fd"_s).entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    int sockets = 0;
    for (const QFileInfo &descriptor : descriptors) {
        if (descriptor.symLinkTarget().contains(u"socket:["_s)) {
            ++sockets;
            EXPECT_EQ(fcntl(descriptor.fileName().toInt(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
        }
    }
    EXPECT_GE(sockets, 4) << "two that listen and the two ends of one connection";
}

} // namespace

} // namespace kavrin::test
