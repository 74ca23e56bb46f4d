// SPDX-License-Identifier: MIT
#include "store/SuiteWriter.h"

#include "store/LockedSuite.h"
#include "store/Prefs.h"
#include "store/Shared.h"
#include "support/RefusedKey.h"
#include "support/Suite.h"
#include "support/Wait.h"

#include <gtest/gtest.h>

#include <limits>

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

namespace
{

const QString key = u"rowH"_s;

using Written = QFuture<std::optional<Error>>;

QString outcomeOf(const Written &written)
{
    EXPECT_TRUE(waitUntil([&] { return written.isFinished(); }));
    return failureOf(written.result());
}

} // namespace

TEST(SuiteWriter, WithoutOneAWriteIsDoneWhenItReturns)
{
    EXPECT_TRUE(SuiteWriter::write({{key, 60.0}}).isFinished());
    EXPECT_EQ(Shared::d().object(key), PropertyListValue(60.0));
}

TEST(SuiteWriter, DoesNotKeepItsCallerWaitingForALock)
{
    const SuiteWriter writer;
    LockedSuite locked;
    const Written written = SuiteWriter::write({{key, 60.0}});
    EXPECT_FALSE(written.isFinished());
    EXPECT_EQ(Shared::d().object(key), std::nullopt);
    locked.unlock();
    EXPECT_EQ(outcomeOf(written), u"");
    EXPECT_EQ(Shared::d().object(key), PropertyListValue(60.0));
}

TEST(SuiteWriter, WritesInTheOrderInWhichItWasAsked)
{
    const SuiteWriter writer;
    LockedSuite locked;
    Written last;
    for (int number = 1; number <= 20; ++number) {
        last = SuiteWriter::write({{key, double(number)}, {u"number%1"_s.arg(number), true}});
    }
    locked.unlock();
    EXPECT_EQ(outcomeOf(last), u"");
    EXPECT_EQ(Shared::d().object(key), PropertyListValue(20.0));
    EXPECT_EQ(Shared::d().dictionaryRepresentation().value.size(), 21U);
}

TEST(SuiteWriter, SaysWhatCouldNotBeStored)
{
    const SuiteWriter writer;
    const RefusedKey refused("rowH");
    const QString outcome = outcomeOf(SuiteWriter::write({{key, 60.0}}));
    EXPECT_TRUE(outcome.contains(u"no room")) << outcome.toStdString();
}

TEST(SuiteWriter, EditsTheTextThatIsThereWhenItsTurnComes)
{
    const SuiteWriter writer;
    put(Shared::d(), key, u"a"_s);
    OtherProgram other;
    other.execute("BEGIN IMMEDIATE");
    bool settledAsStored = false;
    const Written edited = SuiteWriter::edit(
        key,
        [](const std::optional<PropertyListValue> &stored) {
            return std::get<QString>(stored.value_or(u"nothing"_s)) + u'c';
        },
        [&](bool isStored) { settledAsStored = isStored; });
    other.execute("UPDATE defaults SET value = 'ab' WHERE key = 'rowH'");
    other.execute("COMMIT");
    EXPECT_EQ(outcomeOf(edited), u"");
    EXPECT_TRUE(settledAsStored);
    EXPECT_EQ(Shared::d().object(key), PropertyListValue(u"abc"_s));
}

TEST(SuiteWriter, PlansChangesFromWhatIsThereWhenTheirTurnComes)
{
    const SuiteWriter writer;
    put(Shared::d(), key, u"a"_s);
    OtherProgram other;
    other.execute("BEGIN IMMEDIATE");
    PropertyListDictionary seen;
    const Written edited = SuiteWriter::edit({key, u"absent"_s}, [&](const PropertyListDictionary &stored) {
        seen = stored;
        return Changes{{key, std::nullopt}, {u"absent"_s, true}};
    });
    other.execute("UPDATE defaults SET value = 'ab' WHERE key = 'rowH'");
    other.execute("COMMIT");
    EXPECT_EQ(outcomeOf(edited), u"");
    EXPECT_EQ(seen, (PropertyListDictionary{{key, u"ab"_s}}));
    EXPECT_EQ(Shared::d().object(key), std::nullopt);
    EXPECT_EQ(Shared::d().object(u"absent"_s), PropertyListValue(true));
}

TEST(SuiteWriter, MakesAllPlannedChangesOrNone)
{
    const SuiteWriter writer;
    const RefusedKey refused("rowH");
    const Written edited = SuiteWriter::edit(
        {key}, [](const PropertyListDictionary &) { return Changes{{u"absent"_s, true}, {key, 60.0}}; });
    EXPECT_NE(outcomeOf(edited), u"");
    EXPECT_EQ(Shared::d().object(u"absent"_s), std::nullopt);
}

TEST(SuiteWriter, AnEditThatGivesNothingLeavesTheValueAsItIs)
{
    const SuiteWriter writer;
    put(Shared::d(), key, u"a"_s);
    const Written edited = SuiteWriter::edit(key, [](const auto &) { return std::nullopt; }, [](bool) {});
    EXPECT_EQ(outcomeOf(edited), u"");
    EXPECT_EQ(Shared::d().object(key), PropertyListValue(u"a"_s));
}

TEST(SuiteWriter, EditsNothingWhereTheTextCannotBeStored)
{
    const SuiteWriter writer;
    const RefusedKey refused("rowH");
    bool settledAsStored = true;
    const Written edited = SuiteWriter::edit(
        key, [](const auto &stored) { return stored ? u"something"_s : u"nothing"_s; },
        [&](bool isStored) { settledAsStored = isStored; });
    EXPECT_NE(outcomeOf(edited), u"");
    EXPECT_FALSE(settledAsStored);
    EXPECT_EQ(Shared::d().object(key), std::nullopt);
}

TEST(SuiteWriter, EndsWhenEverythingIsWritten)
{
    {
        const SuiteWriter writer;
        for (int number = 1; number <= 20; ++number) {
            SuiteWriter::write({{key, double(number)}});
        }
    }
    EXPECT_EQ(Shared::d().object(key), PropertyListValue(20.0));
}

TEST(PrefsOnTheMainThread, AChangeIsReadBackBeforeItIsStored)
{
    const SuiteWriter writer;
    LockedSuite locked;
    Prefs::set(key, 60.0);
    const Written last = Prefs::submit({{key, 61.0}});
    EXPECT_EQ(Prefs::get<double>(key), 61.0);
    EXPECT_EQ(Shared::d().object(key), std::nullopt);
    locked.unlock();
    EXPECT_EQ(outcomeOf(last), u"");
    EXPECT_EQ(Shared::d().object(key), PropertyListValue(61.0));
}

TEST(PrefsOnTheMainThread, AChangeThatIsRefusedIsTakenBack)
{
    const SuiteWriter writer;
    const struct {
        const char *name;
        bool isKnown; ///< whether the setting was read before
    } cases[] = {{"known", true}, {"never read", false}};
    for (const auto &[name, isKnown] : cases) {
        SCOPED_TRACE(name);
        put(Shared::d(), key, 60.0);
        Prefs::reset({});
        if (isKnown) {
            EXPECT_EQ(Prefs::get<double>(key), 60.0);
        }
        const RefusedKey refused("rowH");
        const Written refusedChange = Prefs::submit({{key, 70.0}});
        EXPECT_NE(outcomeOf(refusedChange), u"");
        EXPECT_EQ(Prefs::get<double>(key), 60.0);
    }
}

TEST(PrefsOnTheMainThread, AnOlderChangeThatIsRefusedDoesNotTakeBackANewerOne)
{
    const SuiteWriter writer;
    LockedSuite locked;
    const Written older = Prefs::submit({{key, std::numeric_limits<double>::infinity()}});
    const Written newer = Prefs::submit({{key, 61.0}});
    locked.unlock();
    EXPECT_NE(outcomeOf(older), u"");
    EXPECT_EQ(outcomeOf(newer), u"");
    EXPECT_EQ(Prefs::get<double>(key), 61.0);
}

TEST(PrefsOnTheMainThread, AResetShowsAtOnceAndKeepsWhatIsStillToBeStored)
{
    const SuiteWriter writer;
    put(Shared::d(), key, 60.0);
    LockedSuite locked;
    Prefs::set(u"vGap"_s, 5.0);
    const Written reset = Prefs::reset({key});
    EXPECT_EQ(Prefs::get<double>(key), 54.0);
    EXPECT_EQ(Prefs::get<double>(u"vGap"_s), 5.0);
    locked.unlock();
    EXPECT_EQ(outcomeOf(reset), u"");
    EXPECT_EQ(Shared::d().object(key), std::nullopt);
}
