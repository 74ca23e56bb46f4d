// SPDX-License-Identifier: MIT
#include "loopback/LoopbackCase.h"

#include "store/Shared.h"
#include "support/Suite.h"
#include "support/Wait.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

class LoopbackLimits : public LoopbackCase
{
};

TEST_F(LoopbackLimits, AnswersALineOfAMebibyteFromItsBeginning)
{
    const std::string line =
        "GET /cmd?" + std::string(std::size_t(1024) * 1024, 'x') + "&v=start HTTP/1.1\r\n\r\n";
    EXPECT_EQ(answerTo(port(), line), answerWith(done));
    EXPECT_EQ(stored(u"dictationCommand"_s), std::nullopt);
}

TEST_F(LoopbackLimits, ReceivesNoMoreThan8192Bytes)
{
    const std::string head = "GET /cmd?v=start HTTP/1.1\r\nX: ";
    const std::string end = "\r\n\r\n";
    const std::string padding(8192 - head.size() - end.size(), 'x');
    EXPECT_EQ(answerTo(port(), head + padding + end), answerWith(done));
    EXPECT_EQ(stored(u"dictationCommand"_s), PropertyListValue(u"start"_s));

    test::drop(Shared::d(), u"dictationCommand"_s);
    EXPECT_EQ(answerTo(port(), head + padding + "x" + end), answerWith(done));
    EXPECT_EQ(stored(u"dictationCommand"_s), std::nullopt);
}

TEST_F(LoopbackLimits, NeitherStoresNorTellsAnythingWhereTheHeadersDoNotFit)
{
    test::put(Shared::d(), u"transcript"_s, u"text"_s);
    const std::string end = std::string(8192, 'x') + " HTTP/1.1\r\n\r\n";
    for (const auto &[line, body] :
         std::vector<std::pair<std::string, std::string>>{{"GET /get?", nothing},
                                                          {"GET /cmd?v=start&", done},
                                                          {"GET /used?t=1.5&", done},
                                                          {"GET /other?", nothing}}) {
        SCOPED_TRACE(line);
        EXPECT_EQ(answerTo(port(), line + end), answerWith(body));
    }
    const PropertyListDictionary expected = {{u"transcript"_s, u"text"_s}};
    EXPECT_EQ(Shared::d().dictionaryRepresentation().value, expected);
}

TEST_F(LoopbackLimits, OutlivesClientsThatLeaveWithoutAWord)
{
    constexpr int count = 100;
    std::vector<Client> closing(count);
    std::vector<Client> resetting(count);
    const int before = internetSockets(1000);
    for (std::vector<Client> *clients : {&closing, &resetting}) {
        for (Client &client : *clients) {
            ASSERT_TRUE(client.connect(port()));
        }
    }
    ASSERT_TRUE(waitUntil([&] { return internetSockets(1000) == before + 2 * count; }))
        << "taken by the server";
    for (Client &client : closing) {
        client.close();
    }
    for (Client &client : resetting) {
        client.reset();
    }
    EXPECT_EQ(ask("GET /cmd HTTP/1.1"), answerWith(done));
}

TEST_F(LoopbackLimits, OutlivesClientsThatLeaveInTheMiddleOfAnAnswer)
{
    const int listening = internetSockets();
    test::put(Shared::d(), u"transcript"_s, QString(1'000'000, u'x'));
    for (int i = 0; i < 20; ++i) {
        Client client;
        ASSERT_TRUE(client.connect(port()));
        ASSERT_TRUE(client.send("GET /get HTTP/1.1\r\n\r\n"));
        client.reset();
    }
    EXPECT_TRUE(waitUntil([&] { return internetSockets() == listening; }));
    EXPECT_EQ(ask("GET /cmd HTTP/1.1"), answerWith(done));
}

TEST_F(LoopbackLimits, ClosesOnAClientThatNeverStopsSending)
{
    const Client client;
    ASSERT_TRUE(client.connect(port()));
    const std::string chunk(65536, 'x');
    EXPECT_TRUE(waitUntil([&] { return !client.send(chunk); }));
}

TEST_F(LoopbackLimits, ClosesOnAClientThatNeverEndsItsRequest)
{
    const Client client;
    ASSERT_TRUE(client.connect(port()));
    ASSERT_TRUE(client.send("GET /cmd HTTP/1.1\r\n"));
    ASSERT_EQ(client.receiveToEnd(), answerWith(done));
    // So slowly that it is the time that runs out, not the bytes.
    EXPECT_TRUE(waitUntil([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return !client.send("x");
    }));
}

void setDescriptorLimit(rlim_t limit)
{
    rlimit limits = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limits), 0);
    limits.rlim_cur = limit;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limits), 0);
}

rlimit descriptorLimits()
{
    rlimit limits = {};
    getrlimit(RLIMIT_NOFILE, &limits);
    return limits;
}

TEST_F(LoopbackLimits, AnswersWhileAThousandClientsAreSilent)
{
    setDescriptorLimit(descriptorLimits().rlim_max);
    const std::vector<Client> silent(1000);
    const int before = internetSockets(8192);
    for (const Client &client : silent) {
        ASSERT_TRUE(client.connect(port()));
    }
    ASSERT_TRUE(waitUntil([&] { return internetSockets(8192) == before + 1000; })) << "taken by the server";
    EXPECT_EQ(ask("GET /cmd HTTP/1.1"), answerWith(done));
    for (const Client &client : silent) {
        ASSERT_TRUE(client.send("GET /cmd HTTP/1.1\r\n\r\n"));
        ASSERT_EQ(client.receiveToEnd(), answerWith(done));
    }
}

/// How often threads other than the calling one have gone to sleep.
long sleepsOfOtherThreads()
{
    rusage process = {};
    rusage thread = {};
    getrusage(RUSAGE_SELF, &process);
    getrusage(RUSAGE_THREAD, &thread);
    return process.ru_nvcsw - thread.ru_nvcsw;
}

/// Unconnected clients whose own descriptors are all at `least` or above.
std::vector<Client> clientsAbove(int least, std::size_t count)
{
    std::vector<Client> clients(count);
    for (Client &client : clients) {
        client.moveToDescriptor(least);
    }
    return clients;
}

TEST_F(LoopbackLimits, LeavesDescriptorsToTheRestOfTheApplication)
{
    struct Case {
        int limit;
        int connections;
    };
    const int listening = internetSockets();
    for (const Case &input : {Case{300, 300 - 128}, Case{200, 200 / 2}}) {
        SCOPED_TRACE(input.limit);
        ASSERT_TRUE(waitUntil([&] { return internetSockets(1000) == listening; })); // the row before is gone
        std::vector<Client> clients = clientsAbove(input.limit, std::size_t(input.connections) + 2);
        const rlim_t before = descriptorLimits().rlim_cur;
        setDescriptorLimit(rlim_t(input.limit));
        for (const Client &client : clients) {
            ASSERT_TRUE(client.connect(port()));
        }
        ASSERT_TRUE(clients.back().send("GET /cmd HTTP/1.1\r\n\r\n"));
        EXPECT_TRUE(waitUntil([&] { return internetSockets(input.limit) == listening + input.connections; }));
        EXPECT_FALSE(clients.back().hasReceived());
        clients[0].close();
        clients[1].close();
        EXPECT_EQ(clients.back().receiveToEnd(), answerWith(done));
        EXPECT_LE(internetSockets(input.limit), listening + input.connections);
        setDescriptorLimit(before);
    }
}

TEST_F(LoopbackLimits, AllowsItselfEnoughDescriptors)
{
    setDescriptorLimit(64);
    Loopback loopback(0);
    portOf(loopback);
    EXPECT_EQ(descriptorLimits().rlim_cur, std::min(descriptorLimits().rlim_max, rlim_t(4096)));
}

TEST_F(LoopbackLimits, AnswersAlsoWhereAConnectionGetsTheFirstOfAllDescriptors)
{
    const Client client;
    close(STDIN_FILENO);
    ASSERT_TRUE(client.connect(port()));
    ASSERT_TRUE(client.send("GET / HTTP/1.1\r\n\r\n"));
    EXPECT_EQ(client.receiveToEnd(), answerWith(nothing));
}

TEST_F(LoopbackLimits, WaitsForDescriptorsWhenThereAreNone)
{
    const std::uint16_t serverPort = port();
    const int listening = internetSockets();
    ASSERT_EQ(ask("GET /cmd HTTP/1.1"), answerWith(done));
    ASSERT_TRUE(waitUntil([&] { return internetSockets() == listening; }));
    const Client client;
    const rlimit before = descriptorLimits();
    const int firstFree = dup(STDIN_FILENO);
    ASSERT_GE(firstFree, 0);
    close(firstFree);

    setDescriptorLimit(static_cast<rlim_t>(firstFree));
    const bool isExhausted = dup(STDIN_FILENO) < 0;
    const long sleeps = sleepsOfOtherThreads();
    const bool isConnected = client.connect(serverPort) && client.send("GET /cmd HTTP/1.1\r\n\r\n");
    // The server tries again and again, and sleeps in between.
    const bool hasTriedAgain = waitUntil([&] { return sleepsOfOtherThreads() >= sleeps + 10; });
    setDescriptorLimit(before.rlim_cur);

    EXPECT_TRUE(isExhausted);
    EXPECT_TRUE(isConnected);
    EXPECT_TRUE(hasTriedAgain);
    EXPECT_EQ(client.receiveToEnd(), answerWith(done));
}

} // namespace

} // namespace kavrin::test
