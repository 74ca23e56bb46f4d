// SPDX-License-Identifier: MIT
#include "loopback/LoopbackCase.h"

#include "store/Shared.h"
#include "support/Suite.h"
#include "support/Wait.h"

#include <QJsonObject>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

class LoopbackAnswers : public LoopbackCase
{
};

TEST_F(LoopbackAnswers, AnswersWithAnEmptyObjectWhereNothingIsStored)
{
    EXPECT_EQ(ask("GET /get HTTP/1.1"),
              "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\nConnection: "
              "close\r\n\r\n{}");
}

TEST_F(LoopbackAnswers, AnswersACommandInTheExactForm)
{
    EXPECT_EQ(
        ask("POST /cmd?v=start HTTP/1.1"),
        "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 11\r\nConnection: close\r\n\r\n"
        "{\"ok\":true}");
}

TEST_F(LoopbackAnswers, AnswersEveryRequestWithStatus200)
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

TEST_F(LoopbackAnswers, ReportsNoOtherKey)
{
    for (const QString &key : {u"dictationError"_s, u"dictationCommand"_s, u"probeApp"_s, u"openaiKey"_s}) {
        test::put(Shared::d(), key, u"text"_s);
    }
    EXPECT_EQ(answerTo(port(), "GET /get HTTP/1.1\r\n\r\n"), answerWith(nothing));
}

TEST_F(LoopbackAnswers, ReportsTheFiveDictationKeysAsTheyAreStored)
{
    test::put(Shared::d(), u"dictationAlive"_s, 1700000000.25);
    test::put(Shared::d(), u"dictationState"_s, u"done"_s);
    test::put(Shared::d(), u"transcript"_s, u"Grüße,\n\"Ümit\" 👋"_s);
    test::put(Shared::d(), u"tStamp"_s, qint64(1700000001));
    test::put(Shared::d(), u"tUsed"_s, true);
    test::put(Shared::d(), u"dictationCommand"_s, u"start"_s);

    const std::optional<std::string> answer = ask("GET /get HTTP/1.1");

    ASSERT_TRUE(answer);
    EXPECT_EQ(*answer, answerWith(bodyOf(*answer)));
    EXPECT_EQ(jsonOf(bodyOf(*answer)),
              (QJsonObject{{u"dictationAlive"_s, 1700000000.25},
                           {u"dictationState"_s, u"done"_s},
                           {u"transcript"_s, u"Grüße,\n\"Ümit\" 👋"_s},
                           {u"tStamp"_s, 1700000001},
                           {u"tUsed"_s, true}}));
}

TEST_F(LoopbackAnswers, WritesStoredValuesAsCompactJson)
{
    struct Case {
        PropertyListValue value;
        std::string json;
    };
    const std::vector<Case> cases = {
        {1700000000.25, "1700000000.25"},
        {qint64(9007199254740993), "9007199254740993"},
        {false, "false"},
        {u"1"_s, "\"1\""},
        {PropertyListArray{qint64(1), u"a"_s}, "[1,\"a\"]"},
    };
    for (const Case &input : cases) {
        SCOPED_TRACE(input.json);
        test::put(Shared::d(), u"tUsed"_s, input.value);
        EXPECT_EQ(ask("GET /get HTTP/1.1"), answerWith("{\"tUsed\":" + input.json + "}"));
    }
}

TEST_F(LoopbackAnswers, ReportsNothingWhereAValueIsNoJson)
{
    const std::vector<PropertyListValue> values = {Date{1700000000}, QByteArrayLiteral("abc"),
                                                   PropertyListArray{Date{1}}};
    test::put(Shared::d(), u"transcript"_s, u"text"_s);
    for (const PropertyListValue &value : values) {
        SCOPED_TRACE(value.index());
        test::put(Shared::d(), u"tUsed"_s, value);
        EXPECT_EQ(ask("GET /get HTTP/1.1"), answerWith(nothing));
    }
}

TEST_F(LoopbackAnswers, ReportsEachChangeAtOnce)
{
    for (int i = 0; i < 20; ++i) {
        const std::string number = std::to_string(i);
        test::put(Shared::d(), u"tUsed"_s, qint64(i));
        EXPECT_EQ(ask("GET /get HTTP/1.1"), answerWith("{\"tUsed\":" + number + "}"));
        EXPECT_EQ(ask("GET /get HTTP/1.1"), answerWith("{\"tUsed\":" + number + "}"));
    }
    test::drop(Shared::d(), u"tUsed"_s);
    EXPECT_EQ(ask("GET /get HTTP/1.1"), answerWith(nothing));
}

TEST_F(LoopbackAnswers, DeliversALongTranscriptWhole)
{
    const std::string text(std::size_t(16) * 1024 * 1024, 'x'); // more than the kernel takes at once
    test::put(Shared::d(), u"transcript"_s, QString::fromStdString(text));
    const std::optional<std::string> answer = ask("GET /get HTTP/1.1");
    EXPECT_TRUE(answer == answerWith(R"({"transcript":")" + text + "\"}"));
}

TEST_F(LoopbackAnswers, AnswersOnBothLoopbackAddresses)
{
    for (const Family family : {Family::Ipv4, Family::Ipv6}) {
        SCOPED_TRACE(static_cast<int>(family));
        EXPECT_EQ(answerTo(port(), "GET /cmd HTTP/1.1\r\n\r\n", family), answerWith(done));
    }
}

TEST_F(LoopbackAnswers, AnswersARequestInPiecesFromItsFirst)
{
    const Client client;
    ASSERT_TRUE(client.connect(port()));
    ASSERT_TRUE(client.send("GET /cmd?v=stop"));
    EXPECT_EQ(client.receiveToEnd(), answerWith(done));

    EXPECT_TRUE(client.send("ped HTTP/1.1\r\nHost: localhost\r\n\r\n"));
    EXPECT_EQ(stored(u"dictationCommand"_s), PropertyListValue(u"stop"_s));
}

TEST_F(LoopbackAnswers, DeliversTheAnswerWhileMorePiecesArrive)
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

TEST_F(LoopbackAnswers, ReadsOnAfterItsAnswerToARequestWithoutItsEnd)
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

TEST_F(LoopbackAnswers, DeliversTheAnswerToARequestWhoseBodyFollows)
{
    const std::vector<std::string> heads = {
        "POST /get HTTP/1.1\r\nContent-Length: 2\r\n\r\n",
        "GET /get HTTP/1.1\r\ncontent-length: 2\r\n\r\n",
        "GET /get HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n",
    };
    const QString text(300'000, u'x');
    test::put(Shared::d(), u"transcript"_s, text);
    for (const std::string &head : heads) {
        SCOPED_TRACE(head);
        const Client client;
        ASSERT_TRUE(client.connect(port()));
        ASSERT_TRUE(client.send(head));
        ASSERT_TRUE(client.waitToReceive());
        ASSERT_TRUE(client.send("{}"));
        const std::optional<std::string> answer = client.receiveToEnd();
        ASSERT_TRUE(answer);
        EXPECT_EQ(jsonOf(bodyOf(*answer)), (QJsonObject{{u"transcript"_s, text}}));
    }
}

TEST_F(LoopbackAnswers, AnswersManyThatPostAndFinishAtOnce)
{
    for (int i = 0; i < 300; ++i) {
        const Client client;
        ASSERT_TRUE(client.connect(port()));
        ASSERT_TRUE(client.send("POST /cmd HTTP/1.1\r\n\r\n"));
        client.finishSending();
        ASSERT_EQ(client.receiveToEnd(), answerWith(done));
    }
}

TEST_F(LoopbackAnswers, AnswersOnlyTheFirstRequestOfAConnection)
{
    EXPECT_EQ(answerTo(port(), "GET /cmd HTTP/1.1\r\n\r\nGET /cmd?v=start HTTP/1.1\r\n\r\n"),
              answerWith(done));
    EXPECT_EQ(stored(u"dictationCommand"_s), std::nullopt);
}

TEST_F(LoopbackAnswers, AnswersAClientThatHasSentNothingAndNeverWill)
{
    const Client client;
    ASSERT_TRUE(client.connect(port()));
    client.finishSending();
    EXPECT_EQ(client.receiveToEnd(), answerWith(nothing));
}

TEST_F(LoopbackAnswers, AnswersAClientThatHasFinishedSending)
{
    const Client client;
    ASSERT_TRUE(client.connect(port()));
    ASSERT_TRUE(client.send("GET /cmd?v=start HTTP/1.1\r\n\r\n"));
    client.finishSending();
    EXPECT_EQ(client.receiveToEnd(), answerWith(done));
}

} // namespace

} // namespace kavrin::test
