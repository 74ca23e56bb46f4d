// SPDX-License-Identifier: MIT
#include "codes/Codes.h"
#include "store/Shared.h"
#include "support/RefusedKey.h"
#include "support/Suite.h"
#include "support/WriteLog.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace kavrin;
using namespace Qt::StringLiterals;

namespace
{

const QStringList keys = {u"otpCode"_s, u"otpPure"_s, u"otpSource"_s, u"otpAt"_s, u"otpUsed"_s};

PropertyListDictionary stored()
{
    return Shared::d().dictionaryRepresentation().value;
}

double storedTime()
{
    const auto time = Shared::d().object(u"otpAt"_s);
    return time ? std::get<double>(*time) : 0;
}

void note(const QString &text, const QString &source)
{
    EXPECT_EQ(test::failureOf(Codes::note(text, source)), u"");
}

} // namespace

TEST(CodesNote, StoresTheCodeWithWhatAKeyboardNeedsToJudgeIt)
{
    const double before = Date::now().secondsSince1970;
    note(u"Your code is 123 456"_s, u"message"_s);
    const double time = storedTime();
    EXPECT_GE(time, before);
    EXPECT_LE(time, Date::now().secondsSince1970);
    EXPECT_EQ(stored(),
              (PropertyListDictionary{{u"otpCode"_s, u"123456"_s},
                                      {u"otpPure"_s, false},
                                      {u"otpSource"_s, u"message"_s},
                                      {u"otpAt"_s, time},
                                      {u"otpUsed"_s, false}}));
}

TEST(CodesNote, KeepsLeadingZerosAndTellsAPureCode)
{
    note(u"  000042\n"_s, u"elsewhere"_s);
    EXPECT_EQ(Shared::d().object(u"otpCode"_s), PropertyListValue(u"000042"_s));
    EXPECT_EQ(Shared::d().object(u"otpPure"_s), PropertyListValue(true));
    EXPECT_EQ(Shared::d().object(u"otpSource"_s), PropertyListValue(u"elsewhere"_s));
}

TEST(CodesNote, ANewerCodeOverwritesAllFiveKeys)
{
    note(u"111111"_s, u"before"_s);
    test::put(Shared::d(), u"otpAt"_s, 5.0);
    test::put(Shared::d(), u"otpUsed"_s, true);
    note(u"code 222222"_s, u"after"_s);
    EXPECT_EQ(stored(),
              (PropertyListDictionary{{u"otpCode"_s, u"222222"_s},
                                      {u"otpPure"_s, false},
                                      {u"otpSource"_s, u"after"_s},
                                      {u"otpAt"_s, storedTime()},
                                      {u"otpUsed"_s, false}}));
    EXPECT_GT(storedTime(), 5.0);
}

TEST(CodesNote, TheSameCodeAgainIsUnusedAgain)
{
    note(u"111111"_s, u"message"_s);
    test::put(Shared::d(), u"otpUsed"_s, true);
    note(u"111111"_s, u"message"_s);
    EXPECT_EQ(Shared::d().object(u"otpUsed"_s), PropertyListValue(false));
}

TEST(CodesNote, ATextWithoutACodeChangesNothing)
{
    test::put(Shared::d(), u"rowH"_s, 60.0);
    for (const QString &text :
         {QString(), u""_s, u"  \n"_s, u"No code here"_s, u"482148214"_s, u"order 55213"_s,
          u"code 4821 "_s + QString(600, u'a'), QString(3, QChar(0))}) {
        note(text, u"message"_s);
    }
    EXPECT_EQ(stored(), (PropertyListDictionary{{u"rowH"_s, 60.0}}));
}

TEST(CodesNote, ATextWithoutACodeLeavesTheEarlierCodeInPlace)
{
    note(u"111111"_s, u"message"_s);
    test::put(Shared::d(), u"otpUsed"_s, true);
    const PropertyListDictionary before = stored();
    note(u"No code here"_s, u"other"_s);
    EXPECT_EQ(stored(), before);
}

TEST(CodesNote, WritesTheKeysInTheirOrderFirstAndAgain)
{
    test::put(Shared::d(), u"rowH"_s, 60.0);
    test::WriteLog log;
    note(u"111111"_s, u"message"_s);
    note(u"222222"_s, u"message"_s);
    EXPECT_EQ(log.keys(), keys + keys);
}

TEST(CodesNote, SaysWhyItCouldNotStoreAndLeavesTheEarlierCodeInPlace)
{
    note(u"111111"_s, u"message"_s);
    const PropertyListDictionary before = stored();
    const test::RefusedKey refused("otpPure");
    const QString failure = test::failureOf(Codes::note(u"code 222222"_s, u"other"_s));
    EXPECT_TRUE(failure.contains(u"no room")) << failure.toStdString();
    EXPECT_EQ(stored(), before);
}

TEST(CodesNote, MayBeCalledFromSeveralThreads)
{
    constexpr int count = 50;
    const QStringList codes = {u"111111"_s, u"222222"_s, u"333333"_s, u"444444"_s};
    std::vector<std::thread> threads;
    threads.reserve(size_t(codes.size()));
    for (const QString &code : codes) {
        threads.emplace_back([&code] {
            for (int number = 0; number < count; ++number) {
                note(u"code "_s + code, code);
                const auto seen = Codes::extract(u"code "_s + code);
                EXPECT_TRUE(seen && seen->code == code);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    const PropertyListDictionary values = stored();
    EXPECT_EQ(values.size(), 5);
    EXPECT_TRUE(codes.contains(std::get<QString>(values.at(u"otpCode"_s))));
    EXPECT_TRUE(codes.contains(std::get<QString>(values.at(u"otpSource"_s))));
    EXPECT_GT(std::get<double>(values.at(u"otpAt"_s)), 0);
    EXPECT_EQ(values.at(u"otpPure"_s), PropertyListValue(false));
    EXPECT_EQ(values.at(u"otpUsed"_s), PropertyListValue(false));
}
