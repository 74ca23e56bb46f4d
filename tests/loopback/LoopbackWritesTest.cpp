// SPDX-License-Identifier: MIT
#include "loopback/LoopbackCase.h"

#include "store/Shared.h"
#include "support/RefusedKey.h"
#include "support/Suite.h"
#include "support/Wait.h"

#include <QJsonObject>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

class LoopbackWrites : public LoopbackCase
{
};

TEST_F(LoopbackWrites, WritesTheCommandThatTheQueryNames)
{
    struct Case {
        std::string target;
        std::optional<QString> command;
    };
    const std::vector<Case> cases = {
        {"/cmd?v=start", u"start"_s},   {"/cmd?v=stop", u"stop"_s},     {"/cmd?v=stop&v=start", u"start"_s},
        {"/cmd?v=start&v", u"start"_s}, {"/cmd?v=st%61rt", u"start"_s}, {"/cmd?v=start&v=", std::nullopt},
        {"/cmd?v=pause", std::nullopt}, {"/cmd?v=Start", std::nullopt}, {"/cmd?v=start+", std::nullopt},
        {"/cmd?V=start", std::nullopt}, {"/cmd?v=", std::nullopt},      {"/cmd?v", std::nullopt},
        {"/cmd", std::nullopt},         {"/get?v=start", std::nullopt},
    };
    for (const Case &input : cases) {
        SCOPED_TRACE(input.target);
        test::drop(Shared::d(), u"dictationCommand"_s);
        EXPECT_TRUE(ask("GET " + input.target + " HTTP/1.1"));
        EXPECT_EQ(stored(u"dictationCommand"_s),
                  input.command ? std::optional<PropertyListValue>(*input.command) : std::nullopt);
    }
}

TEST_F(LoopbackWrites, NotesTheTranscriptThatWasUsed)
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
        test::drop(Shared::d(), u"tUsed"_s);
        EXPECT_EQ(ask("GET " + input.target + " HTTP/1.1"), answerWith(done));
        EXPECT_EQ(stored(u"tUsed"_s), input.stamp);
    }
}

TEST_F(LoopbackWrites, StoresACommandAgainThatIsRepeated)
{
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(ask("GET /cmd?v=stop HTTP/1.1"), answerWith(done));
        EXPECT_EQ(stored(u"dictationCommand"_s), PropertyListValue(u"stop"_s));
        test::put(Shared::d(), u"dictationCommand"_s, QString()); // as the application does that obeys
    }
}

TEST(LoopbackCommands, PassesOnACommandThatCouldNotBeStoredAndNoOther)
{
    std::mutex mutex;
    QStringList passedOn;
    Loopback loopback{0};
    const auto hasStarted = [&] {
        loopback.start([&](const QString &command) {
            const std::scoped_lock lock(mutex);
            passedOn.append(command);
        });
        return loopback.boundPort() != 0;
    };
    ASSERT_TRUE(waitUntil(hasStarted));
    const auto ask = [&](const std::string &target) {
        EXPECT_EQ(answerTo(loopback.boundPort(), "GET " + target + " HTTP/1.1\r\n\r\n"), answerWith(done));
    };
    {
        const RefusedKey refused("dictationCommand");
        ask("/cmd?v=start");
        ask("/cmd?v=pause");
        ask("/cmd?v=stop");
    }
    {
        const RefusedKey refused("tUsed");
        ask("/used?t=1.5");
    }
    ask("/cmd?v=start");
    const std::scoped_lock lock(mutex);
    EXPECT_EQ(passedOn, (QStringList{u"start"_s, u"stop"_s}));
    EXPECT_EQ(stored(u"dictationCommand"_s), PropertyListValue(u"start"_s));
}

TEST_F(LoopbackWrites, DoesWhatAClientAskedThatIsGone)
{
    Client client;
    ASSERT_TRUE(client.connect(port()));
    ASSERT_TRUE(client.send("GET /cmd?v=start HTTP/1.1\r\n\r\n"));
    client.close();
    EXPECT_TRUE(waitUntil([] { return stored(u"dictationCommand"_s) == PropertyListValue(u"start"_s); }));
}

TEST_F(LoopbackWrites, AnswersOthersWhileAnotherProcessKeepsACommandFromBeingWritten)
{
    test::put(Shared::d(), u"tUsed"_s, true);
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
    EXPECT_EQ(stored(u"dictationCommand"_s), PropertyListValue(u"start"_s));
}

TEST_F(LoopbackWrites, AnswersOnceItIsStoredWhatAnotherProcessHasMadeWait)
{
    KeptSuite suite;
    ASSERT_TRUE(suite.isKept());
    const std::vector<Client> clients = clientsThatAsk({"/cmd?v=start", "/used?t=1.5", "/cmd?v=start"});
    ASSERT_EQ(ask("GET /get HTTP/1.1"), answerWith(nothing)) << "asked after them, and so taken after them";
    for (const Client &client : clients) {
        EXPECT_FALSE(client.hasReceived());
    }
    suite.release();
    for (const Client &client : clients) {
        EXPECT_EQ(client.receiveToEnd(), answerWith(done));
    }
    const PropertyListDictionary expected = {{u"dictationCommand"_s, u"start"_s}, {u"tUsed"_s, 1.5}};
    EXPECT_EQ(Shared::d().dictionaryRepresentation().value, expected);
}

TEST_F(LoopbackWrites, StoresInTheOrderOfTheRequestsWhatAnotherProcessHasMadeWait)
{
    KeptSuite suite;
    ASSERT_TRUE(suite.isKept());
    const std::vector<Client> clients =
        clientsThatAsk({"/cmd?v=stop", "/used?t=1", "/cmd?v=stop", "/used?t=2.5", "/cmd?v=start"});
    EXPECT_EQ(ask("GET /get HTTP/1.1"), answerWith(nothing)) << "asked after them, and so taken after them";
    suite.release();
    for (const Client &client : clients) {
        EXPECT_EQ(client.receiveToEnd(), answerWith(done));
    }
    const PropertyListDictionary expected = {{u"dictationCommand"_s, u"start"_s}, {u"tUsed"_s, 2.5}};
    EXPECT_EQ(Shared::d().dictionaryRepresentation().value, expected);
}

TEST_F(LoopbackWrites, KeepsValuesWholeWhenManyAskAtOnce)
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
            test::put(Shared::d(), u"transcript"_s, texts[choice]);
            check(ask("GET /cmd?v=" + commands[choice] + " HTTP/1.1") == answerWith(done));
            check(ask("GET /used?t=" + stamps[choice] + " HTTP/1.1") == answerWith(done));
            const std::string answer = ask("GET /get HTTP/1.1").value_or("");
            const QJsonObject values = jsonOf(bodyOf(answer));
            check(answer == answerWith(bodyOf(answer)));
            check(oneOf(values.value(u"transcript"_s), texts[0], texts[1]));
            check(oneOf(values.value(u"tUsed"_s), 1700000000.25, -1e-5));
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
    const std::optional<PropertyListValue> command = stored(u"dictationCommand"_s);
    EXPECT_TRUE(command == PropertyListValue(u"start"_s) || command == PropertyListValue(u"stop"_s));
}

} // namespace

} // namespace kavrin::test
