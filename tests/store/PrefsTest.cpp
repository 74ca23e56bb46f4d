// SPDX-License-Identifier: MIT
#include "store/Prefs.h"
#include "store/BrokenSuite.h"
#include "store/Shared.h"
#include "support/RefusedKey.h"
#include "support/Suite.h"
#include "support/WriteLog.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <latch>
#include <thread>
#include <utility>

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

namespace
{

double revision()
{
    const auto value = Shared::d().object(u"settingsRevision"_s);
    return value ? std::get<double>(*value) : 0;
}

/// Stores a value behind the back of Prefs, as a keyboard does.
void store(const QString &key, const PropertyListValue &value)
{
    ASSERT_EQ(test::failureOf(Shared::d().set(key, value)), u"");
}

void expectToBeLookedForAgain()
{
    const QString key = u"rowH"_s;
    {
        const BrokenSuite broken;
        EXPECT_EQ(Prefs::get<double>(key), 54);
    }
    store(key, 60.0);
    EXPECT_EQ(Prefs::get<double>(key), 60);
}

} // namespace

TEST(Prefs, AnUnsetKeyReadsItsCatalogueDefault)
{
    EXPECT_TRUE(Prefs::get<bool>(u"numpadAuto"_s));
    EXPECT_FALSE(Prefs::get<bool>(u"numberRow"_s));
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 54);
    EXPECT_EQ(Prefs::get<QString>(u"provider"_s), u"openai");
    EXPECT_EQ(Prefs::get<QString>(u"customModel"_s), u"whisper-1");
}

TEST(Prefs, EverySettingReadsItsOwnDefault)
{
    for (const Prefs::Item &item : Prefs::items()) {
        SCOPED_TRACE(item.key.toStdString());
        if (const auto *toggle = std::get_if<catalogue::Toggle>(&item.kind)) {
            EXPECT_EQ(Prefs::get<bool>(item.key), toggle->defaultValue);
        } else if (const auto *slider = std::get_if<catalogue::Slider>(&item.kind)) {
            EXPECT_EQ(Prefs::get<double>(item.key), slider->defaultValue);
        } else if (const auto *choice = std::get_if<catalogue::Choice>(&item.kind)) {
            EXPECT_EQ(Prefs::get<QString>(item.key), choice->defaultValue);
        } else if (const auto *text = std::get_if<catalogue::Text>(&item.kind)) {
            EXPECT_EQ(Prefs::get<QString>(item.key), text->defaultValue);
        }
    }
}

TEST(Prefs, AKeyOfAnotherKindOrOutsideTheCatalogueReadsZero)
{
    EXPECT_FALSE(Prefs::get<bool>(u"rowH"_s));
    EXPECT_EQ(Prefs::get<double>(u"numpadAuto"_s), 0);
    EXPECT_EQ(Prefs::get<QString>(u"rowH"_s), u"");
    EXPECT_EQ(Prefs::get<QString>(u"act.resize"_s), u"");
    EXPECT_FALSE(Prefs::get<bool>(u"unknown"_s));
    EXPECT_EQ(Prefs::get<double>(u"unknown"_s), 0);
    EXPECT_EQ(Prefs::get<QString>(u"unknown"_s), u"");
}

TEST(Prefs, AStoredValueReadsAsABoolWhenItIsOne)
{
    const std::pair<PropertyListValue, std::optional<bool>> rows[] = {
        {false, false},
        {qint64(0), false},
        {0.0, false},
        {true, true},
        {qint64(1), true},
        {1.0, true},
        // The rest is not a bool, so the default counts.
        {qint64(2), {}},
        {qint64(-1), {}},
        {0.5, {}},
        {2.0, {}},
        {u"false"_s, {}},
        {Date{0}, {}},
        {QByteArray("0"), {}},
    };
    const std::pair<QString, bool> togglesWithDefaults[] = {{u"numpadAuto"_s, true}, {u"numberRow"_s, false}};
    for (const auto &[stored, expected] : rows) {
        for (const auto &[key, defaultValue] : togglesWithDefaults) {
            store(key, stored);
            Prefs::reset({});
            EXPECT_EQ(Prefs::get<bool>(key), expected.value_or(defaultValue))
                << key.toStdString() << ' ' << stored.index();
        }
    }
}

TEST(Prefs, AStoredNumberReadsAsADouble)
{
    const std::pair<PropertyListValue, double> rows[] = {
        {40.5, 40.5}, {qint64(40), 40}, {true, 1}, {false, 0}, {u"40"_s, 54}, {Date{40}, 54},
    };
    for (const auto &[stored, expected] : rows) {
        store(u"rowH"_s, stored);
        Prefs::reset({});
        EXPECT_EQ(Prefs::get<double>(u"rowH"_s), expected) << stored.index();
    }
}

TEST(Prefs, OnlyAStoredStringReadsAsAString)
{
    const std::pair<PropertyListValue, QString> rows[] = {
        {u"gemini"_s, u"gemini"_s}, {u""_s, u""_s},     {qint64(5), u"openai"_s},
        {true, u"openai"_s},        {2.5, u"openai"_s},
    };
    for (const auto &[stored, expected] : rows) {
        store(u"provider"_s, stored);
        Prefs::reset({});
        EXPECT_EQ(Prefs::get<QString>(u"provider"_s), expected) << stored.index();
    }
}

TEST(Prefs, AValueOfAnotherTypeStaysStored)
{
    store(u"rowH"_s, u"tall"_s);
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 54);
    EXPECT_EQ(Shared::d().object(u"rowH"_s), PropertyListValue(u"tall"_s));
}

TEST(Prefs, SettingWritesTheSuiteAtOnceAndStampsTheRevision)
{
    const double before = Date::now().secondsSince1970;
    Prefs::set(u"rowH"_s, 60.0);
    EXPECT_EQ(Shared::d().object(u"rowH"_s), PropertyListValue(60.0));
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 60);
    EXPECT_GE(revision(), before);
    EXPECT_LE(revision(), Date::now().secondsSince1970);
}

TEST(Prefs, EveryChangeIsWrittenBeforeTheRevisionThatTellsOfIt)
{
    struct Row {
        const char *name;
        std::function<void()> change;
        QStringList written;
    };
    const Row rows[] = {
        {"set", [] { Prefs::set(u"rowH"_s, 60.0); }, {u"rowH"_s}},
        {"set again", [] { Prefs::set(u"rowH"_s, 61.0); }, {u"rowH"_s}},
        {"submit", [] { Prefs::submit({{u"vGap"_s, 5.0}, {u"hGap"_s, 5.0}}); }, {u"vGap"_s, u"hGap"_s}},
        {"store", [] { EXPECT_EQ(failureOf(Prefs::store({{u"radius"_s, 5.0}})), u""); }, {u"radius"_s}},
        {"tools", [] { Prefs::setTools({u"gif"_s}, {}); }, {u"toolOrder"_s, u"toolHidden"_s}},
        {"reset", [] { Prefs::reset({u"rowH"_s}); }, {u"rowH"_s}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        WriteLog log;
        row.change();
        EXPECT_EQ(log.keys(), row.written + QStringList{u"settingsRevision"_s});
    }
}

TEST(Prefs, AValueAndItsRevisionAreStoredTogetherOrNotAtAll)
{
    const std::pair<const char *, std::function<std::optional<Error>(const Changes &)>> ways[] = {
        {"submit", [](const Changes &changes) { return Prefs::submit(changes).result(); }},
        {"store", &Prefs::store},
    };
    Prefs::set(u"rowH"_s, 60.0);
    const PropertyListDictionary before = Shared::d().dictionaryRepresentation().value;
    for (const auto &[name, write] : ways) {
        for (const char *key : {"rowH", "settingsRevision"}) {
            SCOPED_TRACE(std::string(name) + " without " + key);
            const RefusedKey refused(key);
            EXPECT_TRUE(write({{u"rowH"_s, 70.0}}).has_value());
            EXPECT_EQ(Shared::d().dictionaryRepresentation().value, before);
        }
    }
}

TEST(Prefs, AReaderNeverSeesAValueWithoutItsRevision)
{
    // Whoever wrote the revision by itself would leave a reader time to see it.
    OtherProgram().execute("CREATE TRIGGER slow BEFORE INSERT ON defaults WHEN NEW.key = 'settingsRevision' "
                           "BEGIN SELECT count(*) FROM (WITH RECURSIVE number(n) AS (SELECT 1 UNION ALL "
                           "SELECT n + 1 FROM number LIMIT 20000) SELECT n FROM number); END");
    Prefs::set(u"rowH"_s, 0.0);
    QStringList seen;
    {
        const std::jthread reader([&seen](const std::stop_token &stop) {
            OtherProgram program;
            do {
                seen += program.firstColumn(
                    "SELECT setting.value || ' ' || revision.value FROM defaults setting, defaults revision "
                    "WHERE setting.key = 'rowH' AND revision.key = 'settingsRevision'");
            } while (!stop.stop_requested());
        });
        for (int number = 1; number <= 20; ++number) {
            Prefs::set(u"rowH"_s, double(number));
        }
    }
    seen.removeDuplicates();
    QStringList values;
    std::ranges::transform(seen, std::back_inserter(values),
                           [](const QString &pair) { return pair.section(u' ', 0, 0); });
    EXPECT_EQ(values.removeDuplicates(), 0) << seen.join(u", ").toStdString();
}

TEST(Prefs, AValueOnceReadStaysAsReadUntilItIsSetHere)
{
    const QString key = u"rowH"_s;
    EXPECT_EQ(Prefs::get<double>(key), 54);
    store(key, 60.0);
    EXPECT_EQ(Prefs::get<double>(key), 54);
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 54) << "nor does it by another text of the key";
    Prefs::set(key, 61.0);
    EXPECT_EQ(Prefs::get<double>(key), 61);
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 61);
}

TEST(Prefs, WhatIsForgottenIsReadAgain)
{
    const auto change = [](const QString &value) {
        for (const QString &key : {u"openaiKey"_s, u"customURL"_s}) {
            EXPECT_FALSE(Shared::d().set(key, value));
        }
    };
    const auto values = [] {
        return QStringList{Prefs::get<QString>(u"openaiKey"_s), Prefs::get<QString>(u"customURL"_s)};
    };
    change(u"1"_s);
    EXPECT_EQ(values(), QStringList({u"1"_s, u"1"_s}));
    change(u"2"_s);
    Prefs::forgetKeys();
    EXPECT_EQ(values(), QStringList({u"2"_s, u"1"_s}));
    change(u"3"_s);
    Prefs::forget();
    EXPECT_EQ(values(), QStringList({u"3"_s, u"3"_s}));
}

TEST(Prefs, AThreadReadsWhatAnotherHasSet)
{
    const QString key = u"rowH"_s;
    std::latch hasRead(1);
    std::latch isSet(1);
    const std::jthread reader([&] {
        EXPECT_EQ(Prefs::get<double>(key), 54);
        hasRead.count_down();
        isSet.wait();
        EXPECT_EQ(Prefs::get<double>(key), 60);
    });
    hasRead.wait();
    Prefs::set(key, 60.0);
    isSet.count_down();
}

TEST(Prefs, SettingOneKeyLeavesTheOthersCached)
{
    const QString key = u"vGap"_s;
    EXPECT_EQ(Prefs::get<double>(key), 11);
    store(key, 5.0);
    Prefs::set(u"rowH"_s, 60.0);
    EXPECT_EQ(Prefs::get<double>(key), 11);
}

TEST(Prefs, WhatCannotBeStoredIsRefusedAndTheValueStaysAsItWasRead)
{
    Prefs::set(u"rowH"_s, 60.0);
    const BrokenSuite broken;
    EXPECT_TRUE(Prefs::submit({{u"rowH"_s, 70.0}}).result().has_value());
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 60);
}

TEST(Prefs, AValueThatCannotBeReadIsLookedForAgain)
{
    expectToBeLookedForAgain();
}

TEST(Prefs, AValueThatCannotBeReadIsLookedForAgainOnceAnotherWasSet)
{
    Prefs::set(u"vGap"_s, 5.0);
    expectToBeLookedForAgain();
}

TEST(Prefs, AValueThatCannotBeReadIsLookedForAgainOnceAnotherWasReset)
{
    Prefs::reset({u"vGap"_s});
    expectToBeLookedForAgain();
}

TEST(Prefs, FormatsAValueWithItsUnit)
{
    struct Row {
        double value;
        QString unit;
        QString expected;
    };
    const Row rows[] = {
        {5, u"ms"_s, u"5 ms"_s},
        {0.5, u""_s, u"0.50"_s},
        {100, u"%"_s, u"100%"_s},
        {85, u"%"_s, u"85%"_s},
        {30, u""_s, u"30"_s},
        {0.85, u""_s, u"0.85"_s},
        {1.5, u"pt"_s, u"1.50 pt"_s},
        {0.125, u""_s, u"0.12"_s}, // halves go to the even digit, as in C
        {0.375, u""_s, u"0.38"_s},
        {-12, u"pt"_s, u"-12 pt"_s},
        {-0.0, u""_s, u"0"_s},
        {12.5, u"%%"_s, u"12.50 %%"_s},
        {9007199254740993.0, u""_s, u"9007199254740992"_s},
        {-9223372036854775808.0, u""_s, u"-9223372036854775808"_s},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(Prefs::format(row.value, row.unit), row.expected);
    }
}

TEST(PrefsDeathTest, AWholeNumberBeyond64BitsStopsTheProgramWithAMessage)
{
    for (const double value :
         {9223372036854775808.0, -9223372036854777856.0, std::numeric_limits<double>::infinity(),
          -std::numeric_limits<double>::infinity()}) {
        SCOPED_TRACE(value);
        EXPECT_DEATH(
            Prefs::format(value, u""_s),
            testing::StartsWith("A setting's value is too large to be shown: it does not fit into 64 bits."));
    }
}

TEST(Prefs, FormatsWhateverNumberIsStored)
{
    const std::pair<double, QString> rows[] = {
        {54, u"54 pt"_s},
        {0.5, u"0.50 pt"_s},
        {9223372036854774784.0, u"9223372036854774784 pt"_s},
        {9223372036854775808.0, u"9.223372036854776e+18 pt"_s},
        {-9223372036854775808.0, u"-9223372036854775808 pt"_s},
        {-9223372036854777856.0, u"-9.223372036854778e+18 pt"_s},
        {1e20, u"1e+20 pt"_s},
        {-1e300, u"-1e+300 pt"_s},
    };
    for (const auto &[value, expected] : rows) {
        EXPECT_EQ(Prefs::formatStored(value, u"pt"_s), expected);
    }
}

TEST(Prefs, RowsShowAsOtherSettingsStand)
{
    struct Row {
        QString dictMode;
        QString provider;
        QString language;
        QStringList visible;
    };
    const QStringList conditional = {u"provider"_s,     u"openaiKey"_s,   u"openaiModel"_s, u"geminiKey"_s,
                                     u"geminiModel"_s,  u"customURL"_s,   u"customKey"_s,   u"customModel"_s,
                                     u"langExtra_en"_s, u"langExtra_tr"_s};
    const Row rows[] = {
        {u"api"_s,
         u"openai"_s,
         u"en"_s,
         {u"provider"_s, u"openaiKey"_s, u"openaiModel"_s, u"langExtra_tr"_s}},
        {u"api"_s,
         u"gemini"_s,
         u"tr"_s,
         {u"provider"_s, u"geminiKey"_s, u"geminiModel"_s, u"langExtra_en"_s}},
        {u"api"_s,
         u"custom"_s,
         u"de"_s,
         {u"provider"_s, u"customURL"_s, u"customKey"_s, u"customModel"_s, u"langExtra_en"_s,
          u"langExtra_tr"_s}},
        {u"system"_s, u"openai"_s, u"en"_s, {u"langExtra_tr"_s}},
        {u"API"_s, u"openai"_s, u"EN"_s, {u"langExtra_en"_s, u"langExtra_tr"_s}},
    };
    for (const Row &row : rows) {
        Prefs::set(u"dictMode"_s, row.dictMode);
        Prefs::set(u"provider"_s, row.provider);
        Prefs::set(u"language"_s, row.language);
        for (const QString &key : conditional) {
            EXPECT_EQ(Prefs::isVisible(key), row.visible.contains(key))
                << key.toStdString() << " with " << row.dictMode.toStdString() << ' '
                << row.provider.toStdString();
        }
    }
}

TEST(Prefs, WithNothingSetTheRowsOfTheDefaultServiceShow)
{
    EXPECT_TRUE(Prefs::isVisible(u"provider"_s));
    EXPECT_TRUE(Prefs::isVisible(u"openaiKey"_s));
    EXPECT_TRUE(Prefs::isVisible(u"openaiModel"_s));
    EXPECT_FALSE(Prefs::isVisible(u"geminiKey"_s));
    EXPECT_FALSE(Prefs::isVisible(u"customURL"_s));
    EXPECT_TRUE(Prefs::isVisible(u"rowH"_s));
    EXPECT_TRUE(Prefs::isVisible(u"unknown"_s));
}

TEST(Prefs, SeveralThreadsReadAndSet)
{
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([number] {
            for (int round = 0; round < 50; ++round) {
                Prefs::set(u"rowH"_s, double(number));
                EXPECT_THAT(Prefs::get<double>(u"rowH"_s), testing::AllOf(testing::Ge(0), testing::Lt(4)));
                Prefs::reset({u"vGap"_s});
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}
