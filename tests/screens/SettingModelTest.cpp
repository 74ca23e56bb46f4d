// SPDX-License-Identifier: MIT
#include "screens/SettingModel.h"
#include "store/Shared.h"
#include "store/SuiteWriter.h"
#include "support/RefusedKey.h"
#include "support/Wait.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

std::optional<PropertyListValue> stored(const QString &key)
{
    return Shared::d().object(key);
}

Prefs::Item slider(double lower, double upper, double step)
{
    return {u"number"_s, u"Number"_s, catalogue::Slider{lower, lower, upper, step, {}}};
}

TEST(SettingModel, StoresANumberAtItsNearestStep)
{
    struct Case {
        double lower;
        double upper;
        double step;
        double moved;
        double expected;
        QString label;
    };
    const std::vector<Case> cases = {
        {0, 1, 0.05, 0.437, 0.45, u"0.45"_s}, {0, 1, 0.05, 0.42, 0.4, u"0.40"_s},
        {36, 80, 1, 54.4, 54, u"54"_s},       {36, 80, 1, 54.5, 55, u"55"_s},
        {-12, 12, 1, -2.5, -3, u"-3"_s},      {5, 1440, 5, 1440, 1440, u"1440"_s},
        {150, 800, 10, 384, 380, u"380"_s},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.moved);
        SettingModel setting(slider(c.lower, c.upper, c.step));
        setting.setNumber(c.moved);
        const auto value = stored(u"number"_s);
        ASSERT_TRUE(value && std::holds_alternative<double>(*value));
        EXPECT_DOUBLE_EQ(std::get<double>(*value), c.expected);
        EXPECT_EQ(setting.numberText(), c.label);
    }
}

TEST(SettingModel, StoresTextAsOneLineAndKeysWithoutBlanksRoundThem)
{
    struct Case {
        bool secret;
        QString entered;
        QString shown;
        QString stored;
    };
    const std::vector<Case> cases = {
        {true, u"sk-1\n"_s, u"sk-1"_s, u"sk-1"_s},
        {true, u" \tsk-1\r\n"_s, u" sk-1"_s, u"sk-1"_s},
        {true, u"sk-\n1\u2028\u2029\u0085"_s, u"sk-1"_s, u"sk-1"_s},
        {true, u"\u00A0sk 1 "_s, u"\u00A0sk 1 "_s, u"sk 1"_s},
        {false, u" http://a\n/b "_s, u" http://a/b "_s, u" http://a/b "_s},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(qPrintable(c.entered));
        SettingModel setting({u"key"_s, u"Title"_s, catalogue::Text{{}, c.secret}});
        QStringList shown;
        QObject::connect(&setting, &SettingModel::textChanged, [&] { shown.append(setting.text()); });
        setting.setText(c.entered);
        EXPECT_EQ(shown, QStringList(c.shown));
        EXPECT_EQ(stored(u"key"_s), PropertyListValue(c.stored));
        EXPECT_EQ(setting.text(), c.stored);
    }
}

TEST(SettingModel, TellsThePageOfTogglesAndChoicesOnly)
{
    struct Case {
        Prefs::Kind kind;
        std::function<void(SettingModel &)> change;
        int changes;
    };
    const std::vector<Case> cases = {
        {catalogue::Toggle{false}, [](SettingModel &setting) { setting.setOn(true); }, 1},
        {catalogue::Choice{u"a"_s, {{u"a"_s, u"A"_s}, {u"b"_s, u"B"_s}}},
         [](SettingModel &setting) { setting.setOptionIndex(1); }, 1},
        {catalogue::Slider{0, 0, 9, 1, {}}, [](SettingModel &setting) { setting.setNumber(4); }, 0},
        {catalogue::Text{{}, false}, [](SettingModel &setting) { setting.setText(u"x"_s); }, 0},
        {catalogue::Text{{}, true}, [](SettingModel &setting) { setting.setText(u"x"_s); }, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.kind.index());
        SettingModel setting({u"key"_s, u"Title"_s, c.kind});
        const QSignalSpy changed(&setting, &SettingModel::changed);
        c.change(setting);
        EXPECT_EQ(changed.size(), c.changes);
        EXPECT_EQ(setting.tick(), 1);
    }
}

TEST(SettingModel, StampsTheRevisionWithEveryChange)
{
    SettingModel setting({u"key"_s, u"Title"_s, catalogue::Text{{}, false}});
    setting.setText(u"a"_s);
    const auto first = stored(u"settingsRevision"_s);
    setting.setText(u"ab"_s);
    EXPECT_GT(std::get<double>(*stored(u"settingsRevision"_s)), std::get<double>(*first));
}

TEST(SettingModel, ReadsAgainOnlyWhenTheUserHasLetGo)
{
    SettingModel setting({u"key"_s, u"Title"_s, catalogue::Text{{}, false}});
    const QSignalSpy read(&setting, &SettingModel::textChanged);
    setting.setHeld(true);
    setting.refresh();
    EXPECT_EQ(read.size(), 0);
    setting.setHeld(false);
    EXPECT_EQ(read.size(), 1);
    setting.setHeld(true);
    setting.setHeld(false);
    EXPECT_EQ(read.size(), 1);
}

const Prefs::Item line = {u"key"_s, u"Title"_s, catalogue::Text{{}, false}};

TEST(SettingModel, TellsTheNextRowOfAChangeThatFailsAfterItsPageWasClosed)
{
    const SuiteWriter writer;
    const RefusedKey refused("key");
    OtherProgram other;
    other.execute("BEGIN IMMEDIATE");
    std::make_unique<SettingModel>(line)->setText(u"a"_s);
    const SettingModel reopened(line);
    other.execute("COMMIT");
    EXPECT_TRUE(waitUntil([&] { return reopened.problem().contains(u"no room"); }));
    EXPECT_EQ(reopened.text(), u"");
    EXPECT_EQ(SettingModel(line).problem(), u"");
}

TEST(SettingModel, TellsTheNextRowOfAChangeThatFailedWhileNoPageWasOpen)
{
    const SuiteWriter writer;
    const RefusedKey refused("key");
    OtherProgram other;
    other.execute("BEGIN IMMEDIATE");
    std::make_unique<SettingModel>(line)->setText(u"a"_s);
    other.execute("COMMIT");
    // The writer makes changes in their order.
    const auto next = SuiteWriter::write({{u"other"_s, true}});
    EXPECT_TRUE(waitUntil([&] { return next.isFinished(); }));
    const SettingModel reopened(line);
    EXPECT_TRUE(reopened.problem().contains(u"no room"));
    EXPECT_EQ(reopened.text(), u"");
    EXPECT_EQ(SettingModel(line).problem(), u"");
}

TEST(SettingModel, TellsNoRowOfAChangeThatWasStoredAfterItsPageWasClosed)
{
    const SuiteWriter writer;
    OtherProgram other;
    other.execute("BEGIN IMMEDIATE");
    std::make_unique<SettingModel>(line)->setText(u"a"_s);
    const SettingModel reopened(line);
    other.execute("COMMIT");
    const auto next = SuiteWriter::write({{u"other"_s, true}});
    EXPECT_TRUE(waitUntil([&] { return next.isFinished(); }));
    EXPECT_EQ(reopened.text(), u"a");
    EXPECT_EQ(reopened.problem(), u"");
}

TEST(SettingModel, KeepsATextThatCouldNotBeStoredAlsoWhereAnEarlierEditStoredTheSame)
{
    const SuiteWriter writer;
    OtherProgram other;
    other.execute(
        "CREATE TRIGGER refused BEFORE INSERT ON defaults WHEN NEW.key = 'key' AND "
        "(SELECT value FROM defaults WHERE key = 'key') = 'ab' BEGIN SELECT RAISE(ABORT, 'no room'); END");
    other.execute("BEGIN IMMEDIATE");
    SettingModel setting(line);
    setting.setText(u"a"_s);
    setting.setText(u"ab"_s);
    setting.setText(u"a"_s);
    other.execute("COMMIT");
    EXPECT_TRUE(waitUntil([&] { return setting.problem().contains(u"no room"); }));
    EXPECT_EQ(stored(u"key"_s), PropertyListValue(u"ab"_s));
    EXPECT_EQ(setting.text(), u"a");
    other.execute("DROP TRIGGER refused");
}

TEST(SettingModel, KnowsItsDefaultAndGoesBackToIt)
{
    struct Case {
        Prefs::Kind kind;
        PropertyListValue other;
        PropertyListValue standard;
        QString text;
    };
    const catalogue::Choice choice = {u"a"_s, {{u"a"_s, u"First"_s}, {u"b"_s, u"Second"_s}}};
    const std::vector<Case> cases = {
        {catalogue::Toggle{true}, false, true, u"on"_s},
        {catalogue::Toggle{false}, true, false, u"off"_s},
        {catalogue::Slider{54, 36, 80, 1, u"pt"_s}, 60.0, 54.0, u"54 pt"_s},
        {catalogue::Slider{0.35, 0, 1, 0.05, {}}, 0.3, 0.35, u"0.35"_s},
        {choice, u"b"_s, u"a"_s, u"First"_s},
        {choice, u"gone"_s, u"a"_s, u"First"_s},
        {catalogue::Text{u"whisper-1"_s, false}, u""_s, u"whisper-1"_s, u"whisper-1"_s},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(qPrintable(c.text));
        Prefs::set(u"key"_s, c.other);
        SettingModel setting({u"key"_s, u"Title"_s, c.kind});
        EXPECT_EQ(setting.defaultText(), c.text);
        EXPECT_FALSE(setting.isDefault());
        setting.restoreDefault();
        EXPECT_TRUE(setting.isDefault());
        EXPECT_EQ(stored(u"key"_s), c.standard);
    }
}

TEST(SettingModel, TakesTheNearestStepOfADefaultForTheDefault)
{
    SettingModel setting({u"key"_s, u"Title"_s, catalogue::Slider{0.35, 0, 1, 0.05, {}}});
    setting.setNumber(0.35);
    EXPECT_NE(stored(u"key"_s), PropertyListValue(0.35));
    EXPECT_TRUE(setting.isDefault());
}

TEST(SettingModel, HasNoWayBackToAnEmptyTextOrFromAnAction)
{
    const Prefs::Kind kinds[] = {catalogue::Text{{}, false}, catalogue::Text{{}, true},
                                 catalogue::Action{u"act.other"_s}};
    Prefs::set(u"key"_s, u"typed"_s);
    for (const Prefs::Kind &kind : kinds) {
        SettingModel setting({u"key"_s, u"Title"_s, kind});
        EXPECT_TRUE(setting.isDefault());
        setting.restoreDefault();
        EXPECT_EQ(stored(u"key"_s), PropertyListValue(u"typed"_s));
    }
}

TEST(SettingModel, HasNoChosenOptionWhereTheStoredOneIsUnknown)
{
    Prefs::set(u"key"_s, u"gone"_s);
    const SettingModel setting({u"key"_s, u"Title"_s, catalogue::Choice{u"a"_s, {{u"a"_s, u"A"_s}}}});
    EXPECT_EQ(setting.optionIndex(), -1);
}

} // namespace

} // namespace kavrin::test
