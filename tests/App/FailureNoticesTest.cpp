// SPDX-License-Identifier: MIT
#include "App/FailureNotices.h"
#include "doubles/FakeNotifications.h"
#include "store/Shared.h"
#include "support/Suite.h"
#include "support/Wait.h"

#include <gtest/gtest.h>

using namespace kavrin;
using namespace Qt::StringLiterals;

namespace
{

struct FailureNoticesTest : testing::Test {
    test::FakeNotifications notifications;
    FailureNotices notices{notifications};

    QString shown(const QString &message)
    {
        notices.report(message);
        return notifications.shown->text;
    }
};

} // namespace

TEST_F(FailureNoticesTest, OffersToSendARecordingAgainThatIsKept)
{
    const std::pair<bool, QStringList> rows[] = {{false, {u"Settings"_s}},
                                                 {true, {u"Try again"_s, u"Settings"_s}}};
    for (const auto &[isKept, labels] : rows) {
        notices.report(u"Error: no"_s, isKept);
        QStringList offered;
        for (const Notifications::Button &button : notifications.shown->buttons) {
            offered.append(button.label);
        }
        EXPECT_EQ(offered, labels);
    }
}

TEST_F(FailureNoticesTest, ShowsAFailureUntilItIsSeen)
{
    for (const bool isKept : {false, true}) {
        notices.report(u"Error: no"_s, isKept);
        EXPECT_EQ(notifications.shown->stay, Notifications::Stay::UntilSeen) << isKept;
    }
}

TEST_F(FailureNoticesTest, TellsWhichButtonWasPressed)
{
    QStringList told;
    QObject::connect(&notices, &FailureNotices::activated, &notices,
                     [&](const QString &token) { told.append(u"activated "_s + token); });
    QObject::connect(&notices, &FailureNotices::retryRequested, &notices, [&] { told.append(u"retry"_s); });
    notices.report(u"Error: no"_s, true);
    for (const Notifications::Button &button : notifications.shown->buttons) {
        Q_EMIT notifications.pressed(button.name, u"token"_s);
    }
    Q_EMIT notifications.pressed(u"another"_s, u"token"_s);
    Q_EMIT notifications.activated(u"click"_s);
    EXPECT_EQ(told, (QStringList{u"retry"_s, u"activated token"_s, u"activated click"_s}));
}

TEST_F(FailureNoticesTest, MasksKeysOfEightAndMoreCharacters)
{
    const std::pair<QString, QString> rows[] = {
        {u"n"_s, u"Error: No server named 1234567, 12345678"_s},
        {u"1234567"_s, u"Error: No server named 1234567, 12345678"_s},
        {u"12345678"_s, u"Error: No server named 1234567, •••"_s},
        {u" 12345678\n"_s, u"Error: No server named 1234567, •••"_s},
    };
    for (const auto &[key, text] : rows) {
        test::put(Shared::d(), u"customKey"_s, key);
        EXPECT_EQ(shown(u"Error: No server named 1234567, 12345678"_s), text) << key.toStdString();
    }
}

TEST_F(FailureNoticesTest, MasksAKeyInEverySpellingAndAtAnyDepth)
{
    test::put(Shared::d(), u"customKey"_s, u"sk-\"a\\b/ü😀"_s);
    const QString spellings[] = {
        uR"(sk-"a\b/ü😀)"_s,
        uR"(sk-\"a\\b\/ü😀)"_s,
        uR"(sk-\\\"a\\\\b\\\/ü😀)"_s,
        uR"(sk-\\\\\\\"a\\\\\\\\b/ü😀)"_s,
        uR"(sk\u002d\u0022a\u005Cb\u002f\u00FC\uD83D\ude00)"_s,
        uR"(sk\\u002d\\\"a\\u005cb\\u002f\\u00fc\\ud83d\\ude00)"_s,
        uR"(sk\\\\u002d\\\\\\\"a\\\\u005cb/\\\\u00fc\\\\ud83d\\\\ude00)"_s,
        uR"(sk\u005cu002d\u005c\u0022a\u005c\u005cb/\u005Cu00fc😀)"_s,
        uR"(sk-%22a%5Cb%2F%c3%bc%F0%9F%98%80)"_s,
        uR"(sk-%2522a%255cb%252f%25C3%25BC%25f0%259f%2598%2580)"_s,
        uR"(sk\u00252d\u002522a%5c%5cb/%5Cu00fc😀)"_s,
    };
    for (const QString &spelling : spellings) {
        EXPECT_EQ(shown(u"[\""_s + spelling + u"\"]"_s), u"[\"•••\"]") << spelling.toStdString();
    }
}

TEST_F(FailureNoticesTest, MasksEveryPartOfALongKey)
{
    const std::pair<int, QString> rows[] = {
        {8, u"•••"_s}, {255, u"•••"_s}, {256, u"••••••"_s}, {700, u"•••••••••"_s}};
    for (const auto &[length, masked] : rows) {
        QString key;
        for (int index = 0; index < length; ++index) {
            key += QChar(u'Ā' + index);
        }
        test::put(Shared::d(), u"customKey"_s, key);
        EXPECT_EQ(shown(u"no "_s + key + u" yes"_s), u"no "_s + masked + u" yes"_s) << length;
    }
}

TEST_F(FailureNoticesTest, ShowsControlCharactersAsBlanks)
{
    const char16_t controls[] = {u'\0',     u'\a',     u'\x1b',   u'\x7f',   u'\u0080', u'\u009b',
                                 u'\u009f', u'\u202a', u'\u202e', u'\u2066', u'\u2069'};
    for (const char16_t control : controls) {
        EXPECT_EQ(shown(u"no"_s + control + u"key "_s + control), u"no key") << unsigned(control);
    }
    for (const char16_t other : {u'\u00a1', u'\u200d', u'\u202f', u'\u206a', u'ü'}) {
        const QString message = u"no"_s + other + u"key"_s;
        EXPECT_EQ(shown(message), message.simplified()) << unsigned(other);
    }
}

TEST_F(FailureNoticesTest, TakesATextOfBackslashesAsItIs)
{
    test::put(Shared::d(), u"customKey"_s, u"sk-4711-\\\\"_s);
    EXPECT_EQ(shown(QString(1'000'000, u'\\')), QString(199, u'\\') + u'…');
}

TEST_F(FailureNoticesTest, MasksTheKeysThatWereInForceWhenSomethingWasSentAndThoseThatAreNow)
{
    test::put(Shared::d(), u"customKey"_s, u"key-one-ago"_s);
    test::put(Shared::d(), u"customKey"_s, u"key-then"_s);
    const int exchange = notices.rememberKeys();
    test::put(Shared::d(), u"customKey"_s, u"key-half-typed"_s);
    test::put(Shared::d(), u"customKey"_s, u"key-now-"_s);
    EXPECT_EQ(shown(u"key-one-ago key-then key-half-typed key-now-"_s),
              u"key-one-ago ••• key-half-typed •••");
    notices.forgetKeysSoon(exchange);
}

TEST_F(FailureNoticesTest, MasksTheKeysOfATranscriptionUntilItsOwnEnd)
{
    test::put(Shared::d(), u"customKey"_s, u"sent-first"_s);
    const int first = notices.rememberKeys();
    test::put(Shared::d(), u"customKey"_s, u"sent-second"_s);
    const int second = notices.rememberKeys();
    test::put(Shared::d(), u"customKey"_s, u"stored-now"_s);
    const QString message = u"sent-first sent-second"_s;
    EXPECT_EQ(shown(message), u"••• •••");
    notices.forgetKeysSoon(second);
    EXPECT_TRUE(test::waitUntil([&] { return shown(message) == u"••• sent-second"; }));
    notices.forgetKeysSoon(first);
    EXPECT_TRUE(test::waitUntil([&] { return shown(message) == message; }));
}

TEST_F(FailureNoticesTest, ForgetsTheKeysThatWereSentOnceTheirFailureIsReported)
{
    const QString message = u"sent-4711 stored-4712"_s;
    test::put(Shared::d(), u"customKey"_s, u"sent-4711"_s);
    const int exchange = notices.rememberKeys();
    test::put(Shared::d(), u"customKey"_s, u"stored-4712"_s);
    notices.forgetKeysSoon(exchange);
    EXPECT_EQ(shown(message), u"••• •••");
    EXPECT_TRUE(test::waitUntil([&] { return shown(message) == u"sent-4711 •••"; }));
}
