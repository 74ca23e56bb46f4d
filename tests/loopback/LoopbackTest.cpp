// SPDX-License-Identifier: MIT
#include "loopback/Loopback.h"

#include "loopback/Client.h"
#include "store/Shared.h"
#include "support/Suite.h"
#include "support/Wait.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <chrono>
#include <cstddef>
#include <thread>
#include <vector>

namespace kavrin
{

namespace
{

using test::Client;
using test::Family;
using test::TakenPort;
using test::waitUntil;

const QString dictationCommand = QStringLiteral("dictationCommand");
const QString transcript = QStringLiteral("transcript");
const QString tUsed = QStringLiteral("tUsed");

const std::string nothing = "{}";
const std::string done = R"({"ok":true})";

std::string answerWith(const std::string &body)
{
    return "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: "
        + std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
}

std::string bodyOf(const std::string &answer)
{
    const std::size_t end = answer.find("\r\n\r\n");
    return end == std::string::npos ? std::string() : answer.substr(end + 4);
}

QJsonObject jsonOf(const std::string &body)
{
    return QJsonDocument::fromJson(QByteArray::fromStdString(body)).object();
}

/// Starts a server on any free port. The port found on one of the two addresses may be taken on the other, so
/// several may have to be tried.
std::uint16_t portOf(Loopback &loopback)
{
    const auto hasStarted = [&] {
        loopback.start();
        return loopback.boundPort() != 0;
    };
    return waitUntil(hasStarted) ? loopback.boundPort() : 0;
}

/// The answer to a client that sends `bytes` at once and then waits.
std::optional<std::string> answerTo(std::uint16_t port, std::string_view bytes, Family family = Family::Ipv4)
{
    const Client client(family);
    if (!client.connect(port) || !client.send(bytes)) {
        return std::nullopt;
    }
    return client.receiveToEnd();
}

std::optional<PropertyListValue> stored(const QString &key)
{
    return Shared::d().object(key);
}

/// How many sockets of the Internet protocols this process has open among its descriptors below `end`.
int internetSockets(int end = 100)
{
    int sockets = 0;
    for (int descriptor = 0; descriptor < end; ++descriptor) {
        sockaddr_storage name = {};
        socklen_t length = sizeof name;
        const bool hasName = getsockname(descriptor, reinterpret_cast<sockaddr *>(&name), &length) == 0;
        sockets += hasName && (name.ss_family == AF_INET || name.ss_family == AF_INET6) ? 1 : 0;
    }
    return sockets;
}

/// Another process that keeps the suite from being written.
class KeptSuite
{
public:
    KeptSuite()
    {
        m_process.start(QStringLiteral("/usr/bin/python3"),
                        {QStringLiteral("-c"),
                         QStringLiteral("import sqlite3, sys\n"
                                        "suite = sqlite3.connect(sys.argv[1], isolation_level=None)\n"
                                        "suite.execute('BEGIN IMMEDIATE')\n"
                                        "print('locked', flush=True)\n"
                                        "sys.stdin.read()\n"),
                         Shared::d().path()});
    }
    ~KeptSuite() { release(); }
    Q_DISABLE_COPY_MOVE(KeptSuite)

    [[nodiscard]] bool isKept() { return m_process.waitForReadyRead(); }

    void release()
    {
        m_process.closeWriteChannel();
        m_process.waitForFinished();
    }

private:
    QProcess m_process;
};

class LoopbackTest : public testing::Test
{
protected:
    [[nodiscard]] std::uint16_t port() const { return m_port; }

    std::optional<std::string> ask(const std::string &requestLine) const
    {
        return answerTo(m_port, requestLine + "\r\nHost: localhost\r\n\r\n");
    }

    /// One after the other; none waits for its answer.
    std::vector<Client> clientsThatAsk(const std::vector<std::string> &targets) const
    {
        std::vector<Client> clients(targets.size());
        for (std::size_t i = 0; i < targets.size(); ++i) {
            EXPECT_TRUE(clients[i].connect(m_port));
            EXPECT_TRUE(clients[i].send("GET " + targets[i] + " HTTP/1.1\r\n\r\n"));
        }
        return clients;
    }

private:
    Loopback m_loopback{0};
    const std::uint16_t m_port = portOf(m_loopback);
};

TEST_F(LoopbackTest, AnswersWithAnEmptyObjectWhereNothingIsStored)
{
    EXPECT_EQ(ask("GET /get HTTP/1.1"),
              "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\nConnection: "
              "close\r\n\r\n{}");
}

TEST_F(LoopbackTest, AnswersACommandInTheExactForm)
{
    EXPECT_EQ(
        ask("POST /cmd?v=start HTTP/1.1"),
        "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 11\r\nConnection: close\r\n\r\n"
        "{\"ok\":true}");
}

TEST_F(LoopbackTest, AnswersEveryRequestWithStatus200)
{
    struct Case {
        std::string received;
        std::string body;
    };
    const std::vector<Case> cases = {
        {"GET /get HTTP/1.1\r\n\r\n", nothing},
        {"GET /get?x=1 HTTP/1.1\r\n\r\n", nothing},
        {"GET / HTTP/1.1\r\n\r\n", nothing},
        {"GET /GET HTTP/1.1\r\n\r\n", nothing},
        {"GET /get/ HTTP/1.1\r\n\r\n", nothing},
        {"GET //get HTTP/1.1\r\n\r\n", nothing},
        {"GET /CMD?v=start HTTP/1.1\r\n\r\n", nothing},
        {"GET /a%2 HTTP/1.1\r\n\r\n", nothing},
        {"GET\r\n\r\n", nothing},
        {"\r\n", nothing},
        {" ", nothing},
        {"\xff\xfe /cmd?v=start", nothing},
        {"GET /cmd HTTP/1.1\r\n\r\n", done},
        {"GET /cmd?v HTTP/1.1\r\n\r\n", done},
        {"GET /cmd?v=pause HTTP/1.1\r\n\r\n", done},
        {"GET /used HTTP/1.1\r\n\r\n", done},
        {"GET /used?t=abc HTTP/1.1\r\n\r\n", done},
    };
    for (const Case &input : cases) {
        SCOPED_TRACE(input.received);
        EXPECT_EQ(answerTo(port(), input.received), answerWith(input.body));
    }
}

TEST_F(LoopbackTest, WritesTheCommandThatTheQueryNames)
{
    struct Case {
        std::string target;
        std::optional<QString> command;
    };
    const std::vector<Case> cases = {
        {"/cmd?v=start", QStringLiteral("start")},
        {"/cmd?v=stop", QStringLiteral("stop")},
        {"/cmd?v=stop&v=start", QStringLiteral("start")},
        {"/cmd?v=start&v", QStringLiteral("start")},
        {"/cmd?v=st%61rt", QStringLiteral("start")},
        {"/cmd?v=start&v=", std::nullopt},
        {"/cmd?v=pause", std::nullopt},
        {"/cmd?v=Start", std::nullopt},
        {"/cmd?v=start+", std::nullopt},
        {"/cmd?V=start", std::nullopt},
        {"/cmd?v=", std::nullopt},
        {"/cmd?v", std::nullopt},
        {"/cmd", std::nullopt},
        {"/get?v=start", std::nullopt},
    };
    for (const Case &input : cases) {
        SCOPED_TRACE(input.target);
        test::drop(Shared::d(), dictationCommand);
        EXPECT_TRUE(ask("GET " + input.target + " HTTP/1.1"));
        EXPECT_EQ(stored(dictationCommand),
                  input.command ? std::optional<PropertyListValue>(*input.command) : std::nullopt);
    }
}

TEST_F(LoopbackTest, NotesTheTranscriptThatWasUsed)
{
    struct Case {
        std::string target;
        std::optional<PropertyListValue> stamp;
    };
    const std::vector<Case> cases = {
        {"/used?t=1700000000.123456", 1700000000.123456},
        {"/used?t=1700000000", 1700000000.0},
        {"/used?t=1.7e9", 1.7e9},
        {"/used?t=+1.5", 1.5},
        {"/used?t=-1.5", -1.5},
        {"/used?t=1&t=2", 2.0},
        {"/used?t=1&t=abc", std::nullopt},
        {"/used?t=abc", std::nullopt},
        {"/used?t=nan", std::nullopt},
        {"/used?t=inf", std::nullopt},
        {"/used?t=1e999", std::nullopt},
        {"/used?t=%201", std::nullopt},
        {"/used?t=1%20", std::nullopt},
        {"/used?t=", std::nullopt},
        {"/used?t", std::nullopt},
        {"/used", std::nullopt},
    };
    for (const Case &input : cases) {
        SCOPED_TRACE(input.target);
        test::drop(Shared::d(), tUsed);
        EXPECT_EQ(ask("GET " + input.target + " HTTP/1.1"), answerWith(done));
        EXPECT_EQ(stored(tUsed), input.stamp);
    }
}

TEST_F(LoopbackTest, ReportsTheFiveDictationKeysAsTheyAreStored)
{
    test::put(Shared::d(), QStringLiteral("dictationAlive"), 1700000000.25);
    test::put(Shared::d(), QStringLiteral("dictationState"), QStringLiteral("done"));
    test::put(Shared::d(), transcript, QStringLiteral("Grüße,\n\"Ümit\" 👋"));
    test::put(Shared::d(), QStringLiteral("tStamp"), qint64(1700000001));
    test::put(Shared::d(), tUsed, true);
    test::put(Shared::d(), dictationCommand, QStringLiteral("start"));

    const std::optional<std::string> answer = ask("GET /get HTTP/1.1");

    ASSERT_TRUE(answer);
    EXPECT_EQ(*answer, answerWith(bodyOf(*answer)));
    EXPECT_EQ(jsonOf(bodyOf(*answer)),
              (QJsonObject{{QStringLiteral("dictationAlive"), 1700000000.25},
                           {QStringLiteral("dictationState"), QStringLiteral("done")},
                           {transcript, QStringLiteral("Grüße,\n\"Ümit\" 👋")},
                           {QStringLiteral("tStamp"), 1700000001},
                           {tUsed, true}}));
}

TEST_F(LoopbackTest, WritesStoredValuesAsCompactJson)
{
    struct Case {
        PropertyListValue value;
        std::string json;
    };
    const std::vector<Case> cases = {
        {1700000000.25, "1700000000.25"},
        {qint64(9007199254740993), "9007199254740993"},
        {false, "false"},
        {QStringLiteral("1"), "\"1\""},
        {PropertyListArray{qint64(1), QStringLiteral("a")}, "[1,\"a\"]"},
    };
    for (const Case &input : cases) {
        SCOPED_TRACE(input.json);
        test::put(Shared::d(), tUsed, input.value);
        EXPECT_EQ(ask("GET /get HTTP/1.1"), answerWith("{\"tUsed\":" + input.json + "}"));
    }
}

TEST_F(LoopbackTest, ReportsNothingWhereAValueIsNoJson)
{
    const std::vector<PropertyListValue> values = {Date{1700000000}, QByteArrayLiteral("abc"),
                                                   PropertyListArray{Date{1}}};
    test::put(Shared::d(), transcript, QStringLiteral("text"));
    for (const PropertyListValue &value : values) {
        SCOPED_TRACE(value.index());
        test::put(Shared::d(), tUsed, value);
        EXPECT_EQ(ask("GET /get HTTP/1.1"), answerWith(nothing));
    }
}

TEST_F(LoopbackTest, AnswersOthersWhileAnotherProcessKeepsACommandFromBeingWritten)
{
    test::put(Shared::d(), tUsed, true);
    KeptSuite suite;
    ASSERT_TRUE(suite.isKept());
    const Client writer;
    ASSERT_TRUE(writer.connect(port()));
    ASSERT_TRUE(writer.send("GET /cmd?v=start HTTP/1.1\r\n\r\n"));
    EXPECT_EQ(ask("GET /get HTTP/1.1"), answerWith(R"({"tUsed":true})"));
    EXPECT_EQ(ask("GET /cmd?v=pause HTTP/1.1"), answerWith(done));
    EXPECT_EQ(ask("GET /used?t=abc HTTP/1.1"), answerWith(done));
    suite.release();
    EXPECT_EQ(writer.receiveToEnd(), answerWith(done));
    EXPECT_EQ(stored(dictationCommand), PropertyListValue(QStringLiteral("start")));
}

TEST_F(LoopbackTest, StoresTheLastOfThoseThatAnotherProcessHasMadeWait)
{
    const std::vector<std::string> targets = {"/cmd?v=stop", "/used?t=1", "/cmd?v=stop", "/used?t=2.5",
                                              "/cmd?v=start"};
    KeptSuite suite;
    ASSERT_TRUE(suite.isKept());
    const std::vector<Client> clients = clientsThatAsk(targets);
    EXPECT_EQ(ask("GET /get HTTP/1.1"), answerWith(nothing)) << "asked after them, and so taken after them";
    suite.release();
    for (const Client &client : clients) {
        EXPECT_EQ(client.receiveToEnd(), answerWith(done));
    }
    const PropertyListDictionary expected = {{dictationCommand, QStringLiteral("start")}, {tUsed, 2.5}};
    EXPECT_EQ(Shared::d().dictionaryRepresentation().value, expected);
}

TEST_F(LoopbackTest, StoresACommandAgainThatNoLongerStandsThere)
{
    const std::vector<std::optional<QString>> changed = {std::nullopt, QString(), QStringLiteral("start")};
    for (const std::optional<QString> &value : changed) {
        SCOPED_TRACE(value.value_or(QStringLiteral("none")).toStdString());
        EXPECT_TRUE(ask("GET /cmd?v=stop HTTP/1.1"));
        EXPECT_TRUE(ask("GET /cmd?v=stop HTTP/1.1"));
        if (value) {
            test::put(Shared::d(), dictationCommand, *value);
        } else {
            test::drop(Shared::d(), dictationCommand);
        }
        EXPECT_EQ(ask("GET /cmd?v=stop HTTP/1.1"), answerWith(done));
        EXPECT_EQ(stored(dictationCommand), PropertyListValue(QStringLiteral("stop")));
    }
}

TEST_F(LoopbackTest, AnswersNoneOfThoseThatAskAgainBeforeTheLastIsStored)
{
    EXPECT_TRUE(ask("GET /cmd?v=stop HTTP/1.1"));
    EXPECT_TRUE(ask("GET /cmd?v=stop HTTP/1.1"));
    const std::vector<std::vector<std::string>> asked = {{"/cmd?v=start", "/cmd?v=start"},
                                                         {"/cmd?v=stop", "/cmd?v=start"}};
    for (const std::vector<std::string> &targets : asked) {
        SCOPED_TRACE(targets.front());
        KeptSuite suite;
        ASSERT_TRUE(suite.isKept());
        const std::vector<Client> clients = clientsThatAsk(targets);
        ASSERT_EQ(ask("GET /get HTTP/1.1"), answerWith(nothing))
            << "asked after them, and so taken after them";
        for (const Client &client : clients) {
            EXPECT_FALSE(client.hasReceived());
        }
        suite.release();
        for (const Client &client : clients) {
            EXPECT_EQ(client.receiveToEnd(), answerWith(done));
        }
        EXPECT_EQ(stored(dictationCommand), PropertyListValue(QStringLiteral("start")));
    }
}

TEST_F(LoopbackTest, DeliversALongTranscriptWhole)
{
    const std::string text(std::size_t(16) * 1024 * 1024, 'x'); // more than the kernel takes at once
    test::put(Shared::d(), transcript, QString::fromStdString(text));
    const std::optional<std::string> answer = ask("GET /get HTTP/1.1");
    EXPECT_TRUE(answer == answerWith(R"({"transcript":")" + text + "\"}"));
}

TEST_F(LoopbackTest, AnswersOnBothLoopbackAddresses)
{
    for (const Family family : {Family::Ipv4, Family::Ipv6}) {
        SCOPED_TRACE(static_cast<int>(family));
        EXPECT_EQ(answerTo(port(), "GET /cmd HTTP/1.1\r\n\r\n", family), answerWith(done));
    }
}

TEST_F(LoopbackTest, AnswersARequestInPiecesFromItsFirst)
{
    const Client client;
    ASSERT_TRUE(client.connect(port()));
    ASSERT_TRUE(client.send("GET /cmd?v=stop"));
    EXPECT_EQ(client.receiveToEnd(), answerWith(done));

    EXPECT_TRUE(client.send("ped HTTP/1.1\r\nHost: localhost\r\n\r\n"));
    EXPECT_EQ(stored(dictationCommand), PropertyListValue(QStringLiteral("stop")));
}

TEST_F(LoopbackTest, DeliversTheAnswerWhileMorePiecesArrive)
{
    for (int i = 0; i < 200; ++i) {
        const Client client;
        ASSERT_TRUE(client.connect(port()));
        ASSERT_TRUE(client.send("GET /cmd HTTP/1.1\r\n"));
        ASSERT_TRUE(client.send("Host: localhost\r\n"));
        ASSERT_TRUE(client.send("\r\n"));
        ASSERT_EQ(client.receiveToEnd(), answerWith(done));
    }
}

TEST_F(LoopbackTest, ReadsOnAfterItsAnswerToARequestWithoutItsEnd)
{
    const auto readsOn = [&] {
        const Client client;
        const bool isAnswered = client.connect(port()) && client.send("GET /get HTTP/1.1\r\n")
            && client.receiveToEnd() == answerWith(nothing);
        // It would have closed by the time that it has answered another client; the next piece would tell.
        const auto goesOn = [&] { return ask("GET /get HTTP/1.1") && client.send("Accept: */*\r\n"); };
        int pieces = 0;
        while (isAnswered && pieces < 20 && goesOn()) {
            ++pieces;
        }
        return pieces == 20;
    };
    // It does so for a second only, which a busy machine may let pass now and then.
    int inARow = 0;
    EXPECT_TRUE(waitUntil([&] {
        inARow = readsOn() ? inARow + 1 : 0;
        return inARow == 5;
    }));
}

TEST_F(LoopbackTest, DeliversTheAnswerToARequestWhoseBodyFollows)
{
    const std::vector<std::string> heads = {
        "POST /get HTTP/1.1\r\nContent-Length: 2\r\n\r\n",
        "GET /get HTTP/1.1\r\ncontent-length: 2\r\n\r\n",
        "GET /get HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n",
    };
    const QString text(300'000, u'x');
    test::put(Shared::d(), transcript, text);
    for (const std::string &head : heads) {
        SCOPED_TRACE(head);
        const Client client;
        ASSERT_TRUE(client.connect(port()));
        ASSERT_TRUE(client.send(head));
        ASSERT_TRUE(client.waitToReceive());
        ASSERT_TRUE(client.send("{}"));
        const std::optional<std::string> answer = client.receiveToEnd();
        ASSERT_TRUE(answer);
        EXPECT_EQ(jsonOf(bodyOf(*answer)), (QJsonObject{{transcript, text}}));
    }
}

TEST_F(LoopbackTest, AnswersManyThatPostAndFinishAtOnce)
{
    for (int i = 0; i < 300; ++i) {
        const Client client;
        ASSERT_TRUE(client.connect(port()));
        ASSERT_TRUE(client.send("POST /cmd HTTP/1.1\r\n\r\n"));
        client.finishSending();
        ASSERT_EQ(client.receiveToEnd(), answerWith(done));
    }
}

TEST_F(LoopbackTest, ReportsEachChangeAtOnce)
{
    for (int i = 0; i < 20; ++i) {
        const std::string number = std::to_string(i);
        test::put(Shared::d(), tUsed, qint64(i));
        EXPECT_EQ(ask("GET /get HTTP/1.1"), answerWith("{\"tUsed\":" + number + "}"));
        EXPECT_EQ(ask("GET /get HTTP/1.1"), answerWith("{\"tUsed\":" + number + "}"));
    }
    test::drop(Shared::d(), tUsed);
    EXPECT_EQ(ask("GET /get HTTP/1.1"), answerWith(nothing));
}

TEST_F(LoopbackTest, AnswersALineOfAMebibyteFromItsBeginning)
{
    const std::string line =
        "GET /cmd?" + std::string(std::size_t(1024) * 1024, 'x') + "&v=start HTTP/1.1\r\n\r\n";
    EXPECT_EQ(answerTo(port(), line), answerWith(done));
    EXPECT_EQ(stored(dictationCommand), std::nullopt);
}

TEST_F(LoopbackTest, ReceivesNoMoreThan8192Bytes)
{
    const std::string head = "GET /cmd?v=stop&v=";
    const std::string padding(8192 - std::string_view("&v=start").size() - head.size(), 'x');
    EXPECT_EQ(answerTo(port(), head + padding + "&v=starting HTTP/1.1\r\n\r\n"), answerWith(done));
    EXPECT_EQ(stored(dictationCommand), PropertyListValue(QStringLiteral("start")));
}

TEST_F(LoopbackTest, AnswersOnlyTheFirstRequestOfAConnection)
{
    EXPECT_EQ(answerTo(port(), "GET /cmd HTTP/1.1\r\n\r\nGET /cmd?v=start HTTP/1.1\r\n\r\n"),
              answerWith(done));
    EXPECT_EQ(stored(dictationCommand), std::nullopt);
}

TEST_F(LoopbackTest, AnswersAClientThatHasSentNothingAndNeverWill)
{
    const Client client;
    ASSERT_TRUE(client.connect(port()));
    client.finishSending();
    EXPECT_EQ(client.receiveToEnd(), answerWith(nothing));
}

TEST_F(LoopbackTest, AnswersAClientThatHasFinishedSending)
{
    const Client client;
    ASSERT_TRUE(client.connect(port()));
    ASSERT_TRUE(client.send("GET /cmd?v=start HTTP/1.1\r\n\r\n"));
    client.finishSending();
    EXPECT_EQ(client.receiveToEnd(), answerWith(done));
}

TEST_F(LoopbackTest, DoesWhatAClientAskedThatIsGone)
{
    Client client;
    ASSERT_TRUE(client.connect(port()));
    ASSERT_TRUE(client.send("GET /cmd?v=start HTTP/1.1\r\n\r\n"));
    client.close();
    EXPECT_TRUE(
        waitUntil([] { return stored(dictationCommand) == PropertyListValue(QStringLiteral("start")); }));
}

TEST_F(LoopbackTest, OutlivesClientsThatLeaveWithoutAWord)
{
    constexpr int count = 100;
    std::vector<Client> closing(count);
    std::vector<Client> resetting(count);
    const int before = internetSockets(1000);
    for (int i = 0; i < count; ++i) {
        ASSERT_TRUE(closing[i].connect(port()));
        ASSERT_TRUE(resetting[i].connect(port()));
    }
    ASSERT_TRUE(waitUntil([&] { return internetSockets(1000) == before + 2 * count; }))
        << "taken by the server";
    for (int i = 0; i < count; ++i) {
        closing[i].close();
        resetting[i].reset();
    }
    EXPECT_EQ(ask("GET /cmd HTTP/1.1"), answerWith(done));
}

TEST_F(LoopbackTest, OutlivesClientsThatLeaveInTheMiddleOfAnAnswer)
{
    const int listening = internetSockets();
    test::put(Shared::d(), transcript, QString(1'000'000, u'x'));
    for (int i = 0; i < 20; ++i) {
        Client client;
        ASSERT_TRUE(client.connect(port()));
        ASSERT_TRUE(client.send("GET /get HTTP/1.1\r\n\r\n"));
        client.reset();
    }
    EXPECT_TRUE(waitUntil([&] { return internetSockets() == listening; }));
    EXPECT_EQ(ask("GET /cmd HTTP/1.1"), answerWith(done));
}

TEST_F(LoopbackTest, ClosesOnAClientThatNeverStopsSending)
{
    const Client client;
    ASSERT_TRUE(client.connect(port()));
    const std::string chunk(65536, 'x');
    EXPECT_TRUE(waitUntil([&] { return !client.send(chunk); }));
}

TEST_F(LoopbackTest, ClosesOnAClientThatNeverEndsItsRequest)
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

TEST_F(LoopbackTest, AnswersWhileAThousandClientsAreSilent)
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

TEST_F(LoopbackTest, TakesNoDescriptorForAClientThatHasSentNothingYet)
{
    const std::uint16_t serverPort = port();
    const int listening = internetSockets();
    // Where this thread is kept waiting for a second, the client counts as one that stays silent.
    EXPECT_TRUE(waitUntil([&] {
        const Client client;
        return client.connect(serverPort) && ask("GET /cmd HTTP/1.1") == answerWith(done)
            && internetSockets() == listening + 1;
    }));
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
    std::vector<int> fillers;
    while (fillers.empty() || fillers.back() < least) {
        fillers.push_back(dup(STDIN_FILENO));
    }
    std::vector<Client> clients(count);
    std::for_each(fillers.begin(), fillers.end(), close);
    return clients;
}

TEST_F(LoopbackTest, LeavesDescriptorsToTheRestOfTheApplication)
{
    const int listening = internetSockets();
    const std::pair<int, int> connectionsByLimit[] = {{300, 300 - 128}, {200, 200 / 2}};
    for (const auto &[limit, connections] : connectionsByLimit) {
        SCOPED_TRACE(limit);
        ASSERT_TRUE(waitUntil([&] { return internetSockets(1000) == listening; })); // the row before is gone
        const std::vector<Client> clients = clientsAbove(limit, 200);
        const rlimit before = descriptorLimits();
        setDescriptorLimit(static_cast<rlim_t>(limit));
        for (const Client &client : clients) {
            ASSERT_TRUE(client.connect(port()));
        }
        EXPECT_TRUE(waitUntil([&, end = limit, expected = listening + connections] {
            return internetSockets(end) == expected;
        }));
        // It looks again and again whether it may take more.
        const long sleeps = sleepsOfOtherThreads();
        EXPECT_TRUE(waitUntil([&] { return sleepsOfOtherThreads() >= sleeps + 10; }));
        EXPECT_EQ(internetSockets(limit), listening + connections);
        setDescriptorLimit(before.rlim_cur);
    }
}

TEST(Loopback, AllowsItselfEnoughDescriptors)
{
    struct Row {
        rlim_t soft;
        rlim_t hard;
        rlim_t raised;
    };
    for (const Row &row : {Row{64, 5000, 4096}, Row{4500, 5000, 4500}, Row{64, 3000, 3000}}) {
        SCOPED_TRACE(row.soft);
        const rlimit limits = {.rlim_cur = row.soft, .rlim_max = row.hard};
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limits), 0);
        Loopback loopback(0);
        portOf(loopback);
        EXPECT_EQ(descriptorLimits().rlim_cur, row.raised);
    }
}

TEST_F(LoopbackTest, AnswersAlsoWhereAConnectionGetsTheFirstOfAllDescriptors)
{
    const Client client;
    close(STDIN_FILENO);
    ASSERT_TRUE(client.connect(port()));
    ASSERT_TRUE(client.send("GET / HTTP/1.1\r\n\r\n"));
    EXPECT_EQ(client.receiveToEnd(), answerWith(nothing));
}

TEST_F(LoopbackTest, WaitsForDescriptorsWhenThereAreNone)
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

TEST_F(LoopbackTest, KeepsItsSocketsFromOtherPrograms)
{
    const Client client;
    ASSERT_TRUE(client.connect(port()));
    ASSERT_TRUE(client.send("GET /cmd HTTP/1.1\r\n\r\n"));
    ASSERT_EQ(client.receiveToEnd(), answerWith(done));

    const QFileInfoList descriptors =
        QDir(QStringLiteral("/proc/self/fd"))
            .entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    int sockets = 0;
    for (const QFileInfo &descriptor : descriptors) {
        if (descriptor.symLinkTarget().contains(QStringLiteral("socket:["))) {
            ++sockets;
            EXPECT_EQ(fcntl(descriptor.fileName().toInt(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
        }
    }
    EXPECT_GE(sockets, 4) << "two that listen and the two ends of one connection";
}

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

TEST_F(LoopbackTest, ListensOnNoOtherAddressOfTheMachine)
{
    sockaddr_in other = {};
    other.sin_family = AF_INET;
    other.sin_port = htons(port());
    other.sin_addr.s_addr = htonl(INADDR_LOOPBACK + 1);
    EXPECT_TRUE(isRefused(reinterpret_cast<const sockaddr *>(&other), sizeof other));

    ifaddrs *addresses = nullptr;
    ASSERT_EQ(getifaddrs(&addresses), 0);
    for (const ifaddrs *address = addresses; address != nullptr; address = address->ifa_next) {
        if (address->ifa_addr == nullptr || address->ifa_addr->sa_family != AF_INET) {
            continue;
        }
        other = *reinterpret_cast<const sockaddr_in *>(address->ifa_addr);
        other.sin_port = htons(port());
        SCOPED_TRACE(address->ifa_name);
        if (other.sin_addr.s_addr != htonl(INADDR_LOOPBACK)) {
            EXPECT_TRUE(isRefused(reinterpret_cast<const sockaddr *>(&other), sizeof other));
        }
    }
    freeifaddrs(addresses);
}

TEST_F(LoopbackTest, KeepsValuesWholeWhenManyAskAtOnce)
{
    constexpr int threadCount = 8;
    constexpr int rounds = 50;
    const std::array<QString, 2> texts = {QString(5000, u'a'), QString(5000, u'b')};
    const std::array<std::string, 2> commands = {"start", "stop"};
    const std::array<std::string, 2> stamps = {"1700000000.25", "-1e-5"};
    std::atomic<int> wrong = 0;

    const auto check = [&](bool right) { wrong += right ? 0 : 1; };
    const auto oneOf = [](const QJsonValue &value, const QJsonValue &first, const QJsonValue &second) {
        return value.isUndefined() || value == first || value == second;
    };
    const auto askOften = [&](int thread) {
        for (int i = 0; i < rounds; ++i) {
            const auto choice = static_cast<std::size_t>(thread + i) % 2;
            test::put(Shared::d(), transcript, texts[choice]);
            check(ask("GET /cmd?v=" + commands[choice] + " HTTP/1.1") == answerWith(done));
            check(ask("GET /used?t=" + stamps[choice] + " HTTP/1.1") == answerWith(done));
            const std::string answer = ask("GET /get HTTP/1.1").value_or("");
            const QJsonObject values = jsonOf(bodyOf(answer));
            check(answer == answerWith(bodyOf(answer)));
            check(oneOf(values.value(transcript), texts[0], texts[1]));
            check(oneOf(values.value(tUsed), 1700000000.25, -1e-5));
        }
    };
    {
        std::vector<std::jthread> threads;
        threads.reserve(threadCount);
        for (int thread = 0; thread < threadCount; ++thread) {
            threads.emplace_back(askOften, thread);
        }
    }
    EXPECT_EQ(wrong, 0);
    const std::optional<PropertyListValue> command = stored(dictationCommand);
    EXPECT_TRUE(command == PropertyListValue(QStringLiteral("start"))
                || command == PropertyListValue(QStringLiteral("stop")));
}

TEST(Loopback, HasThePortThatKeyboardsKnow)
{
    EXPECT_EQ(Loopback::port, 49731);
}

TEST(Loopback, DoesNotListenBeforeItIsStarted)
{
    const Loopback loopback(0);
    EXPECT_EQ(loopback.boundPort(), 0);
}

TEST(Loopback, KeepsItsPortWhenStartedAgain)
{
    Loopback loopback(0);
    const std::uint16_t port = portOf(loopback);
    loopback.start();
    EXPECT_EQ(loopback.boundPort(), port);
    EXPECT_EQ(answerTo(port, "GET /cmd HTTP/1.1\r\n\r\n"), answerWith(done));
}

TEST(Loopback, StartsOnceWhenStartedFromManyThreads)
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

TEST(Loopback, StartsOnceItsPortIsFree)
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

TEST(Loopback, ListensNowhereWhenItsPortIsTakenOnOneAddress)
{
    const TakenPort taken(Family::Ipv6);
    Loopback loopback(taken.port());
    loopback.start();
    EXPECT_FALSE(Client(Family::Ipv4).connect(taken.port()));
}

TEST(Loopback, FreesItsPortWhenDestroyed)
{
    auto first = std::make_unique<Loopback>(0);
    const std::uint16_t port = portOf(*first);
    ASSERT_EQ(answerTo(port, "GET /cmd HTTP/1.1\r\n\r\n"), answerWith(done));
    first.reset();

    Loopback second(port);
    second.start();
    EXPECT_EQ(second.boundPort(), port);
}

TEST(Loopback, ClosesItsConnectionsWhenDestroyed)
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

TEST(Loopback, LeavesAnotherUserUnanswered)
{
    Loopback loopback(0, [](int) { return PeerUser::Other; });
    const Client client;
    ASSERT_TRUE(client.connect(portOf(loopback)));
    // The connection may be closed before all is sent.
    static_cast<void>(client.send("GET /cmd?v=start HTTP/1.1\r\n\r\n"));
    EXPECT_EQ(client.receiveToEnd().value_or(""), "");
    EXPECT_EQ(stored(dictationCommand), std::nullopt);
}

TEST(Loopback, AnswersWhereTheUserCannotBeTold)
{
    Loopback loopback(0, [](int) { return PeerUser::Gone; });
    EXPECT_EQ(answerTo(portOf(loopback), "GET /cmd?v=start HTTP/1.1\r\n\r\n"), answerWith(done));
    EXPECT_EQ(stored(dictationCommand), PropertyListValue(QStringLiteral("start")));
}

TEST(Loopback, AsksWhoseEachConnectionIs)
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

TEST(Loopback, OutlivesAQuestionThatFails)
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

TEST(Loopback, AnswersOnAMachineWithoutIpv6)
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

} // namespace kavrin
