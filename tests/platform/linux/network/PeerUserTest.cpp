// SPDX-License-Identifier: MIT
#include "platform/PeerUser.h"

#include "support/Wait.h"

#include <QCoreApplication>
#include <QProcess>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace kavrin
{

namespace
{

using test::waitUntil;

/// Where to listen and connect: an address of this machine, and any port or a certain one.
struct Name {
    sockaddr_in6 bytes = {};
    socklen_t length = 0;

    sockaddr *any() { return reinterpret_cast<sockaddr *>(&bytes); }
    [[nodiscard]] const sockaddr *any() const { return reinterpret_cast<const sockaddr *>(&bytes); }
};

Name ipv4Name(in_addr_t address = INADDR_LOOPBACK)
{
    Name name;
    sockaddr_in ipv4 = {};
    ipv4.sin_family = AF_INET;
    ipv4.sin_addr.s_addr = htonl(address);
    memcpy(&name.bytes, &ipv4, sizeof ipv4);
    name.length = sizeof ipv4;
    return name;
}

Name ipv6Name(const char *address)
{
    Name name;
    name.bytes.sin6_family = AF_INET6;
    inet_pton(AF_INET6, address, &name.bytes.sin6_addr);
    name.length = sizeof name.bytes;
    return name;
}

class Socket
{
public:
    explicit Socket(int descriptor) : m_descriptor(descriptor) { }
    ~Socket() { close(); }
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;

    [[nodiscard]] int descriptor() const { return m_descriptor; }

    void close()
    {
        if (m_descriptor >= 0) {
            ::close(std::exchange(m_descriptor, -1));
        }
    }

    [[nodiscard]] Name name() const
    {
        Name name;
        name.length = sizeof name.bytes;
        getsockname(m_descriptor, name.any(), &name.length);
        return name;
    }

private:
    int m_descriptor;
};

int open(const Name &name)
{
    const int descriptor = socket(name.any()->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0) {
        throw std::runtime_error("no socket could be opened");
    }
    return descriptor;
}

bool bindTo(const Socket &socket, const Name &name)
{
    return bind(socket.descriptor(), name.any(), name.length) == 0;
}

int listenOn(const Name &name)
{
    const int descriptor = open(name);
    const int yes = 1;
    const int no = 0;
    setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    if (name.any()->sa_family == AF_INET6) {
        setsockopt(descriptor, IPPROTO_IPV6, IPV6_V6ONLY, &no, sizeof no);
    }
    EXPECT_EQ(bind(descriptor, name.any(), name.length), 0);
    EXPECT_EQ(listen(descriptor, 1), 0);
    return descriptor;
}

int connectTo(const Name &name)
{
    const int descriptor = open(name);
    EXPECT_EQ(connect(descriptor, name.any(), name.length), 0);
    return descriptor;
}

int acceptFrom(const Socket &listening)
{
    return accept(listening.descriptor(), nullptr, nullptr);
}

/// A connection of this process with itself.
struct Connection {
    explicit Connection(const Name &name)
        : listening(listenOn(name)), client(connectTo(listening.name())), server(acceptFrom(listening))
    {
    }

    Socket listening;
    Socket client;
    Socket server;
};

TEST(PeerUser, IsSameForAConnectionOfThisUser)
{
    const std::vector<Name> names = {ipv4Name(), ipv6Name("::1"), ipv6Name("::ffff:127.0.0.1")};
    for (const Name &name : names) {
        SCOPED_TRACE(&name - names.data());
        const Connection connection(name);
        EXPECT_EQ(peerUser(connection.server.descriptor()), PeerUser::Same);
        EXPECT_EQ(peerUser(connection.client.descriptor()), PeerUser::Same);
    }
}

TEST(PeerUser, IsSameBetweenTheTwoKindsOfIpv4Socket)
{
    const Socket listening(listenOn(ipv6Name("::ffff:127.0.0.1")));
    Name name = ipv4Name();
    const Name mapped = listening.name();
    memcpy(reinterpret_cast<char *>(&name.bytes) + offsetof(sockaddr_in, sin_port), &mapped.bytes.sin6_port,
           sizeof mapped.bytes.sin6_port);
    const Socket client(connectTo(name));
    const Socket server(acceptFrom(listening));
    EXPECT_EQ(peerUser(server.descriptor()), PeerUser::Same);
    EXPECT_EQ(peerUser(client.descriptor()), PeerUser::Same);
}

TEST(PeerUser, IsSameAsLongAsTheOtherEndIsOpen)
{
    const Connection connection(ipv4Name());
    shutdown(connection.client.descriptor(), SHUT_WR);
    EXPECT_EQ(peerUser(connection.server.descriptor()), PeerUser::Same);
}

TEST(PeerUser, IsGoneWhenTheOtherEndHasClosed)
{
    for (const Name &name : {ipv4Name(), ipv6Name("::1")}) {
        SCOPED_TRACE(name.any()->sa_family);
        Connection connection(name);
        connection.client.close();
        EXPECT_EQ(peerUser(connection.server.descriptor()), PeerUser::Gone);
    }
}

TEST(PeerUser, IsGoneWhenAnotherSocketListensOnThePortOfTheOtherEnd)
{
    constexpr in_addr_t addressOfNobodyElse = 0x7f4d0001; // 127.77.0.1
    const Socket listening(listenOn(ipv4Name()));
    Socket client(open(ipv4Name()));
    ASSERT_TRUE(bindTo(client, ipv4Name(addressOfNobodyElse)));
    const Name server = listening.name();
    ASSERT_EQ(connect(client.descriptor(), server.any(), server.length), 0);
    const Socket accepted(acceptFrom(listening));
    const Name name = client.name();
    const int oneSecond = 1;
    setsockopt(client.descriptor(), IPPROTO_TCP, TCP_LINGER2, &oneSecond, sizeof oneSecond);
    client.close();

    // The port can be bound once the kernel has forgotten the closed end.
    const Socket another(open(name));
    ASSERT_TRUE(waitUntil([&] { return bindTo(another, name); }));
    ASSERT_EQ(listen(another.descriptor(), 1), 0);
    EXPECT_EQ(peerUser(accepted.descriptor()), PeerUser::Gone);
}

TEST(PeerUser, IsGoneForWhatIsNoConnection)
{
    const Socket listening(listenOn(ipv4Name()));
    const Socket unconnected(open(ipv4Name()));
    std::array<int, 2> pair = {};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair.data()), 0);
    const Socket first(pair[0]);
    const Socket second(pair[1]);
    for (const int descriptor :
         {listening.descriptor(), unconnected.descriptor(), first.descriptor(), STDIN_FILENO, -1}) {
        SCOPED_TRACE(descriptor);
        EXPECT_EQ(peerUser(descriptor), PeerUser::Gone);
    }
}

TEST(PeerUser, AsksAgainAfterAFailure)
{
    const Connection connection(ipv4Name());
    rlimit limits = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limits), 0);
    const rlimit none{.rlim_cur = 0, .rlim_max = limits.rlim_max};

    PeerUser without = PeerUser::Same;
    PeerUser with = PeerUser::Gone;
    // A thread that has never asked before has no descriptor for it yet.
    std::jthread([&] {
        setrlimit(RLIMIT_NOFILE, &none);
        without = peerUser(connection.server.descriptor());
        setrlimit(RLIMIT_NOFILE, &limits);
        with = peerUser(connection.server.descriptor());
    }).join();

    EXPECT_EQ(without, PeerUser::Gone);
    EXPECT_EQ(with, PeerUser::Same);
}

TEST(PeerUser, IsToldToManyThreadsAtOnce)
{
    const Connection connection(ipv4Name());
    std::atomic<int> wrong = 0;
    {
        std::array<std::jthread, 4> threads;
        for (std::jthread &thread : threads) {
            thread = std::jthread([&] {
                for (int i = 0; i < 500; ++i) {
                    wrong += peerUser(connection.server.descriptor()) == PeerUser::Same ? 0 : 1;
                }
            });
        }
    }
    EXPECT_EQ(wrong, 0);
}

TEST(PeerUser, LeavesNoDescriptorOfAThreadThatHasEnded)
{
    const Connection connection(ipv4Name());
    const auto firstFree = [] {
        const int descriptor = dup(STDIN_FILENO);
        close(descriptor);
        return descriptor;
    };
    const int before = firstFree();
    std::jthread([&] { EXPECT_EQ(peerUser(connection.server.descriptor()), PeerUser::Same); }).join();
    EXPECT_EQ(firstFree(), before);
}

TEST(PeerUser, IsToldAlsoWhereTheQuestionGetsTheFirstOfAllDescriptors)
{
    const Connection connection(ipv4Name());
    close(STDIN_FILENO);
    std::jthread([&] {
        EXPECT_EQ(peerUser(connection.server.descriptor()), PeerUser::Same);
        EXPECT_EQ(peerUser(connection.server.descriptor()), PeerUser::Same);
    }).join();
    EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1) << "closed with the thread";
}

/// Connects to `name` as another user, and stays until the other end closes. Ends the process.
[[noreturn]] void connectAsAnotherUser(const Name &name)
{
    constexpr uid_t nobody = 65534;
    char byte = 0;
    if (setuid(nobody) != 0) {
        _exit(1);
    }
    const int descriptor = open(name);
    if (connect(descriptor, name.any(), name.length) != 0 || read(descriptor, &byte, 1) != 0) {
        _exit(2);
    }
    _exit(0);
}

void expectOther(const Name &name)
{
    const Socket listening(listenOn(name));
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        connectAsAnotherUser(listening.name());
    }
    Socket server(acceptFrom(listening));
    EXPECT_EQ(peerUser(server.descriptor()), PeerUser::Other);
    server.close();
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

/// Runs a program as the root of a user namespace with users to change to.
int runAsRoot(const QStringList &command)
{
    const QStringList options = {QStringLiteral("--map-root-user"), QStringLiteral("--map-auto")};
    return QProcess::execute(QStringLiteral("unshare"), options + command);
}

/// The plain question comes first: unshare --map-auto leaves a process behind where it is refused a
/// namespace.
bool canBecomeRoot()
{
    const QStringList plain = {QStringLiteral("--user"), QStringLiteral("true")};
    return QProcess::execute(QStringLiteral("unshare"), plain) == 0
        && runAsRoot({QStringLiteral("true")}) == 0;
}

TEST(PeerUser, IsOtherForAConnectionOfAnotherUser)
{
    if (geteuid() != 0) {
        if (!canBecomeRoot()) {
            GTEST_SKIP() << "Becoming another user is not permitted here: it needs root, or the package "
                            "uidmap and a range for this user in /etc/subuid and /etc/subgid.";
        }
        EXPECT_EQ(runAsRoot({QCoreApplication::applicationFilePath(),
                             QStringLiteral("--gtest_filter=PeerUser.IsOtherForAConnectionOfAnotherUser")}),
                  0);
        return;
    }
    for (const Name &name : {ipv4Name(), ipv6Name("::1"), ipv6Name("::ffff:127.0.0.1")}) {
        SCOPED_TRACE(name.any()->sa_family);
        expectOther(name);
    }
}

} // namespace

} // namespace kavrin
