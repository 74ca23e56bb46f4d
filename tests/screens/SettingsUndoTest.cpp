// SPDX-License-Identifier: MIT
#include "screens/Screens.h"
#include "store/SuiteWriter.h"
#include "support/RefusedKey.h"
#include "support/StoredValues.h"
#include "support/Suite.h"

namespace kavrin::test
{

namespace
{

/// The page with the button that resets, and what the window offers to undo.
class SettingsUndoTest : public Screens
{
protected:
    SettingsUndoTest() { openPage(u"advanced"_s); }

    SettingsUndo &undo() { return *settings().undo(); }
    void reset() { window().click(u"Reset all settings"_s); }

    /// Imports as another process does that tells the window of it.
    void import(const PropertyListDictionary &imported)
    {
        undo().expectImport();
        for (const auto &[key, value] : imported) {
            put(Shared::d(), key, value);
        }
        settings().reload();
        undo().offerImport();
    }

    /// Until everybody who waits for an earlier change has its outcome: changes are made in their order.
    void waitForTheWriter()
    {
        bool isDone = false;
        SuiteWriter::write({{u"other"_s, true}}).then(&undo(), [&isDone](const auto &) { isDone = true; });
        EXPECT_TRUE(waitUntil([&] { return isDone; }));
    }

    static PropertyListDictionary everything()
    {
        PropertyListDictionary all = Shared::d().dictionaryRepresentation().value;
        all.erase(u"settingsRevision"_s);
        return all;
    }
};

TEST_F(SettingsUndoTest, OffersNothingAtFirstAndWhereNothingWasChanged)
{
    EXPECT_EQ(undo().text(), u"");
    reset();
    EXPECT_EQ(undo().text(), u"");
    import({});
    EXPECT_EQ(undo().text(), u"");
}

TEST_F(SettingsUndoTest, BringsBackValuesTypesAndWhatWasAbsentAfterAReset)
{
    for (const PropertyListValue &value : storedValues()) {
        SCOPED_TRACE(value.index());
        put(Shared::d(), u"rowH"_s, value);
        put(Shared::d(), u"numberRow"_s, qint64(1));
        put(Shared::d(), u"openaiKey"_s, u"kept"_s);
        const PropertyListDictionary before = everything();
        reset();
        EXPECT_EQ(undo().text(), u"Settings reset");
        EXPECT_FALSE(stored(u"rowH"_s));
        undo().undo();
        EXPECT_EQ(everything(), before);
        EXPECT_EQ(undo().text(), u"");
    }
}

TEST_F(SettingsUndoTest, BringsBackWhatWasThereBeforeAnImport)
{
    put(Shared::d(), u"rowH"_s, qint64(60));
    put(Shared::d(), u"openaiKey"_s, u"before"_s);
    const PropertyListDictionary before = everything();
    import(
        {{u"rowH"_s, 70.0}, {u"openaiKey"_s, u"theirs"_s}, {u"hints"_s, u"all"_s}, {u"userDict"_s, u"w"_s}});
    EXPECT_EQ(undo().text(), u"Settings imported");
    undo().undo();
    EXPECT_EQ(everything(), before);
}

TEST_F(SettingsUndoTest, LeavesWhatAKeyboardHasChangedSince)
{
    Prefs::set(u"rowH"_s, 60.0);
    Prefs::set(u"numberRow"_s, true);
    reset();
    put(Shared::d(), u"rowH"_s, 70.0);
    undo().undo();
    EXPECT_EQ(stored(u"rowH"_s), PropertyListValue(70.0));
    EXPECT_EQ(stored(u"numberRow"_s), PropertyListValue(true));
}

TEST_F(SettingsUndoTest, LeavesWhatAKeyboardHasRemovedSince)
{
    import({{u"rowH"_s, 70.0}, {u"hints"_s, u"all"_s}});
    drop(Shared::d(), u"rowH"_s);
    put(Shared::d(), u"hints"_s, u"numbers"_s);
    undo().undo();
    EXPECT_FALSE(stored(u"rowH"_s));
    EXPECT_EQ(stored(u"hints"_s), PropertyListValue(u"numbers"_s));
}

TEST_F(SettingsUndoTest, TakesBackTheLastFirst)
{
    Prefs::set(u"rowH"_s, 60.0);
    reset();
    import({{u"rowH"_s, 70.0}});
    reset();
    reset(); // changes nothing
    for (const auto &[text, value] :
         {std::pair<QString, std::optional<PropertyListValue>>(u"Settings reset"_s, PropertyListValue(70.0)),
          {u"Settings imported"_s, std::nullopt},
          {u"Settings reset"_s, PropertyListValue(60.0)}}) {
        EXPECT_EQ(undo().text(), text);
        undo().undo();
        EXPECT_EQ(stored(u"rowH"_s), value);
    }
    EXPECT_EQ(undo().text(), u"");
}

TEST_F(SettingsUndoTest, ShowsAndStampsWhatItBringsBack)
{
    Prefs::set(u"rowH"_s, 60.0);
    reset();
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 54);
    const auto revision = stored(u"settingsRevision"_s);
    const QSignalSpy reloaded(&page(), &PageModel::reloaded);
    undo().undo();
    EXPECT_EQ(Prefs::get<double>(u"rowH"_s), 60);
    EXPECT_EQ(reloaded.size(), 1);
    EXPECT_GT(std::get<double>(*stored(u"settingsRevision"_s)), std::get<double>(*revision));
}

TEST_F(SettingsUndoTest, CountsAChangeThatWaitsToBeStoredWhenTheResetComes)
{
    const SuiteWriter writer;
    OtherProgram other;
    other.execute("BEGIN IMMEDIATE");
    Prefs::set(u"rowH"_s, 60.0);
    reset();
    other.execute("COMMIT");
    EXPECT_TRUE(waitUntil([&] { return undo().text() == u"Settings reset"; }));
    undo().undo();
    EXPECT_TRUE(waitUntil([&] { return stored(u"rowH"_s) == PropertyListValue(60.0); }));
}

TEST_F(SettingsUndoTest, SaysWhyNothingWasUndoneAndStillOffersIt)
{
    Prefs::set(u"numberRow"_s, true);
    Prefs::set(u"rowH"_s, 60.0);
    reset();
    {
        const RefusedKey refused("rowH");
        undo().undo();
        EXPECT_TRUE(undo().note().startsWith(u"This could not be undone. "));
        EXPECT_FALSE(stored(u"numberRow"_s));
    }
    EXPECT_EQ(undo().text(), u"Settings reset");
    undo().undo();
    EXPECT_EQ(undo().note(), u"");
    EXPECT_EQ(stored(u"rowH"_s), PropertyListValue(60.0));
}

TEST_F(SettingsUndoTest, ForgetsWhenTheWindowCloses)
{
    Prefs::set(u"rowH"_s, 60.0);
    reset();
    undo().closeWindow();
    EXPECT_EQ(undo().text(), u"");
    undo().undo();
    EXPECT_FALSE(stored(u"rowH"_s));
}

TEST_F(SettingsUndoTest, OffersNoResetThatIsStoredAfterItsWindowWasClosed)
{
    const SuiteWriter writer;
    Prefs::set(u"rowH"_s, 60.0);
    EXPECT_TRUE(waitUntil([&] { return stored(u"rowH"_s).has_value(); }));
    OtherProgram other;
    other.execute("BEGIN IMMEDIATE");
    reset();
    undo().closeWindow();
    other.execute("COMMIT");
    waitForTheWriter();
    EXPECT_FALSE(stored(u"rowH"_s));
    EXPECT_EQ(undo().text(), u"");
}

TEST_F(SettingsUndoTest, OffersNoUndoThatFailsAfterItsWindowWasClosed)
{
    Prefs::set(u"rowH"_s, 60.0);
    reset();
    const SuiteWriter writer;
    const RefusedKey refused("rowH");
    OtherProgram other;
    other.execute("BEGIN IMMEDIATE");
    undo().undo();
    undo().closeWindow();
    other.execute("COMMIT");
    waitForTheWriter();
    EXPECT_EQ(undo().text(), u"");
    EXPECT_EQ(undo().note(), u"");
}

TEST_F(SettingsUndoTest, IsAStripWithAButtonAndAKey)
{
    Prefs::set(u"rowH"_s, 60.0);
    QmlWindow strip(u"Kavrin.Screens"_s, u"UndoStrip"_s, {{u"undo"_s, QVariant::fromValue(&undo())}});
    EXPECT_EQ(strip.names(), QStringList());
    EXPECT_NE(strip.topInterface()->role(),
              QAccessible::Pane); // without a name, it would be read out as nothing
    reset();
    EXPECT_EQ(strip.names(), (QStringList{u"Settings reset"_s, u"Undo"_s, u"Dismiss"_s}));
    strip.click(u"Undo"_s);
    EXPECT_EQ(stored(u"rowH"_s), PropertyListValue(60.0));
    EXPECT_EQ(strip.names(), QStringList());
    reset();
    strip.view().requestActivate();
    EXPECT_TRUE(waitUntil([&] { return strip.view().isActive(); }));
    strip.press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(stored(u"rowH"_s), PropertyListValue(60.0));
    reset();
    strip.click(u"Dismiss"_s);
    EXPECT_EQ(strip.names(), QStringList());
    EXPECT_FALSE(stored(u"rowH"_s));
}

} // namespace

} // namespace kavrin::test
