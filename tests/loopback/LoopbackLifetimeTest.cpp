// SPDX-License-Identifier: MIT
#include "loopback/LoopbackCase.h"

#include "support/Wait.h"

#include <gtest/gtest.h>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace kavrin::test
{

namespace
{

TEST(LoopbackLifetime, HasThePortThatKeyboardsKnow)
{
    EXPECT_EQ(Loopback::port, 49731);
}

TEST(LoopbackLifetime, DoesNotListenBeforeItIsStarted)
{
    const Loopback loopback(0);
    EXPECT_EQ(loopback.boundPort(), 0);
}

TEST(LoopbackLifetime, KeepsItsPortWhenStartedAgain)
{
    Loopback loopback(0);
    const std::uint16_t port = portOf(loopback);
    loopback.start();
    EXPECT_EQ(loopback.boundPort(), port);
    EXPECT_EQ(answerTo(port, "GET /cmd HTTP/1.1\r\n\r\n"), answerWith(done));
}

TEST(LoopbackLifetime, StartsOnceWhenStartedFromManyThreads)
{
    Loopback loopback(0);
    portOf(loopback);
    {
        std::array<std::jthread, 4> threads;
        for (std::jthread &thread : threads) {
            thread = std::jthread([&] { loopback.start(); });
        }
    }
    EXPECT_EQ(answerTo(loopback.boundPort(), "GET /cmd HTTP/1.1\r\n\r\n"), answerWith(done));
}

TEST(LoopbackLifetime, StartsOnceItsPortIsFree)
{
    for (const Family family : {Family::Ipv4, Family::Ipv6}) {
        SCOPED_TRACE(static_cast<int>(family));
        TakenPort taken(family);
        Loopback loopback(taken.port());
        loopback.start();
        EXPECT_EQ(loopback.boundPort(), 0);

        taken.release();
        EXPECT_EQ(portOf(loopback), taken.port());
        EXPECT_EQ(answerTo(taken.port(), "GET /cmd HTTP/1.1\r\n\r\n"), answerWith(done));
    }
}

TEST(LoopbackLifetime, ListensNowhereWhenItsPortIsTakenOnOneAddress)
{
    const TakenPort taken(Family::Ipv6);
    Loopback loopback(taken.port());
    loopback.start();
    EXPECT_FALSE(Client(Family::Ipv4).connect(taken.port()));
}

TEST(LoopbackLifetime, FreesItsPortWhenDestroyed)
{
    auto first = std::make_unique<Loopback>(0);
    const std::uint16_t port = portOf(*first);
    ASSERT_EQ(answerTo(port, "GET /cmd HTTP/1.1\r\n\r\n"), answerWith(done));
    first.reset();

    Loopback second(port);
    second.start();
    EXPECT_EQ(second.boundPort(), port);
}

TEST(LoopbackLifetime, ClosesItsConnectionsWhenDestroyed)
{
    auto loopback = std::make_unique<Loopback>(0);
    const std::uint16_t port = portOf(*loopback);
    const Client silent;
    const int before = internetSockets();
    ASSERT_TRUE(silent.connect(port));
    ASSERT_TRUE(waitUntil([&] { return internetSockets() == before + 1; })) << "taken by the server";
    const Client answered;
    ASSERT_TRUE(answered.connect(port));
    ASSERT_TRUE(answered.send("GET /cmd HTTP/1.1\r\n\r\n"));
    ASSERT_TRUE(answered.receiveToEnd());

    loopback.reset();

    EXPECT_EQ(silent.receiveToEnd().value_or(""), "");
    EXPECT_TRUE(waitUntil([&] { return !answered.send("x"); }));
}

TEST(LoopbackLifetime, EndsWhileCommandsWaitToBeStored)
{
    auto loopback = std::make_unique<Loopback>(0);
    const std::uint16_t port = portOf(*loopback);
    KeptSuite suite;
    ASSERT_TRUE(suite.isKept());
    const std::vector<Client> clients(3);
    for (const Client &client : clients) {
        ASSERT_TRUE(client.connect(port));
        ASSERT_TRUE(client.send("GET /cmd?v=start HTTP/1.1\r\n\r\n"));
    }
    ASSERT_TRUE(answerTo(port, "GET /get HTTP/1.1\r\n\r\n")) << "asked after them, and so taken after them";
    std::jthread end([&] { loopback.reset(); });
    suite.release();
    end.join();
    for (const Client &client : clients) {
        const std::string received = client.receiveToEnd().value_or("");
        EXPECT_TRUE(received.empty() || received == answerWith(done)) << received;
    }
}

/// A call of the kernel with a certain number as one of its arguments, and how it fails.
struct FailingCall {
    unsigned int number;
    unsigned int argument;
    unsigned int value;
    unsigned int error;
};

/// Makes this process one on a machine whose kernel fails so. There is no way back.
bool makeFail(const FailingCall &call)
{
    static_assert(std::endian::native == std::endian::little);
    const auto argument =
        static_cast<unsigned int>(offsetof(seccomp_data, args) + std::size_t(8) * call.argument);
    std::array<sock_filter, 6> filter = {{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call.number, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, argument),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call.value, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | call.error),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    const sock_fprog program{.len = filter.size(), .filter = filter.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0
        && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

bool answersWithout(const FailingCall &call)
{
    if (!makeFail(call)) {
        return false;
    }
    Loopback loopback(0);
    return answerTo(portOf(loopback), "GET /cmd HTTP/1.1\r\n\r\n") == answerWith(done);
}

TEST(LoopbackLifetime, AnswersOnAMachineWithoutIpv6)
{
    const std::pair<const char *, FailingCall> rows[] = {
        {"the kernel knows none", {__NR_socket, 0, AF_INET6, EAFNOSUPPORT}},
        {"no interface has it", {__NR_bind, 2, sizeof(sockaddr_in6), EADDRNOTAVAIL}},
    };
    for (const auto &[name, call] : rows) {
        SCOPED_TRACE(name);
        EXPECT_EXIT(_exit(answersWithout(call) ? 0 : 1), testing::ExitedWithCode(0), "");
    }
}

} // namespace

} // namespace kavrin::test
