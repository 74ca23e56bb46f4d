// SPDX-License-Identifier: MIT
#include "screens/Screens.h"
#include "support/RefusedKey.h"
#include "support/Suite.h"

namespace kavrin::test
{

namespace
{

using SettingActionTest = Screens;
using Status = Contacts::AuthorizationStatus;

TEST_F(SettingActionTest, SaysHowAccessToContactsStands)
{
    struct Case {
        Status status;
        QString row;
    };
    const QString denied =
        u"Not available: this desktop has no address book, or does not let Kavrin read it."_s;
    for (const Case &c : std::vector<Case>{{Status::NotDetermined, u"Allow contacts access"_s},
                                           {Status::Restricted, denied},
                                           {Status::Denied, denied},
                                           {Status::Authorized, u"Allowed"_s}}) {
        contacts.status = c.status;
        openPage(u"extensions"_s);
        EXPECT_EQ(window().names().last(), c.row);
    }
}

TEST_F(SettingActionTest, ShowsTheAnswerAboutContactsWithoutLeavingThePage)
{
    for (const auto &[answer, row] : std::vector<std::pair<Status, QString>>{
             {Status::Denied,
              u"Not available: this desktop has no address book, or does not let Kavrin read it."_s},
             {Status::Authorized, u"Allowed"_s}}) {
        contacts.status = Status::NotDetermined;
        openPage(u"extensions"_s);
        window().click(u"Allow contacts access"_s);
        contacts.settle(answer);
        EXPECT_EQ(window().names().last(), row);
    }
}

TEST_F(SettingActionTest, SaysWhetherTheKeyboardHasBeenSeenInTheSuite)
{
    openPage(u"advanced"_s);
    EXPECT_TRUE(window().find(u"No keyboard has used these settings yet"_s) != nullptr);
    EXPECT_TRUE(
        window().find(
            u"A keyboard in a sandbox may keep its own copy. Use “Copy all settings & keys” here, then "
            u"“Import settings from clipboard” in the keyboard's own settings."_s)
        != nullptr);
    test::put(Shared::d(), u"probeKb"_s, false);
    openPage(u"advanced"_s);
    EXPECT_TRUE(window().find(u"Keyboard and app share settings"_s) != nullptr);
    EXPECT_TRUE(window().find(u"No keyboard has used these settings yet"_s) == nullptr);
}

TEST_F(SettingActionTest, CopiesAllSettingsAndSaysSoUntilThePageIsLeft)
{
    Prefs::set(u"openaiKey"_s, u"a key"_s);
    openPage(u"advanced"_s);
    window().click(u"Copy all settings & keys"_s);
    EXPECT_EQ(pasteboard.string, Prefs::exportBlob());
    EXPECT_TRUE(pasteboard.isSecret);
    const QString note = u"Copied. Open the keyboard settings and import."_s;
    EXPECT_TRUE(window().find(note) != nullptr);
    openPage(u"advanced"_s);
    EXPECT_TRUE(window().find(note) == nullptr);
}

TEST_F(SettingActionTest, CopiesEvenAnExportThatFailed)
{
    test::put(Shared::d(), u"rowH"_s, Date{1});
    pasteboard.string = u"before"_s;
    openPage(u"advanced"_s);
    window().click(u"Copy all settings & keys"_s);
    EXPECT_EQ(pasteboard.string, QString());
    EXPECT_TRUE(window().find(u"Copied. Open the keyboard settings and import."_s) != nullptr);
}

TEST_F(SettingActionTest, ResetsEverythingButKeysAtOnce)
{
    Prefs::set(u"numberRow"_s, true);
    Prefs::set(u"rowH"_s, 60.0);
    Prefs::set(u"dictMode"_s, u"system"_s);
    Prefs::set(u"openaiKey"_s, u"a key"_s);
    openPage(u"advanced"_s);
    window().click(u"Reset all settings"_s);
    EXPECT_FALSE(stored(u"numberRow"_s));
    EXPECT_FALSE(stored(u"rowH"_s));
    EXPECT_FALSE(stored(u"dictMode"_s));
    EXPECT_EQ(stored(u"openaiKey"_s), PropertyListValue(u"a key"_s));
    EXPECT_EQ(window().find(u"Reset all settings"_s)->text(QAccessible::Description),
              u"API keys are kept."_s);
}

TEST_F(SettingActionTest, ShowsAResetThatFailedAsAProblemUntilOneSucceeds)
{
    Prefs::set(u"rowH"_s, 60.0);
    openPage(u"advanced"_s);
    const auto problem = [&] { return window().names().filter(u"Nothing was reset. "_s).join(u'\n'); };
    {
        const RefusedKey refused("settingsRevision");
        window().click(u"Reset all settings"_s);
    }
    ASSERT_NE(problem(), u"");
    EXPECT_EQ(window().find(problem())->role(), QAccessible::AlertMessage);
    window().click(u"Copy all settings & keys"_s);
    EXPECT_TRUE(window().find(u"Copied. Open the keyboard settings and import."_s, QAccessible::StaticText)
                != nullptr);
    window().click(u"Reset all settings"_s);
    EXPECT_EQ(problem(), u"");
}

TEST_F(SettingActionTest, ResettingOnAPageShowsItsDefaultsAndRowsAgain)
{
    std::vector<Prefs::Page> catalogue = Prefs::pages();
    Prefs::Page &dictation = catalogue[7];
    dictation.sections[0].items.push_back(*Prefs::items().constFind(u"numberRow"_s));
    dictation.sections[0].items.push_back(*Prefs::items().constFind(u"act.resetAll"_s));
    Prefs::set(u"numberRow"_s, true);
    Prefs::set(u"dictMode"_s, u"system"_s);
    openPage(catalogue, u"dictation"_s);
    EXPECT_TRUE(window().find(u"Provider"_s) == nullptr);
    EXPECT_TRUE(window().find(u"Number row"_s)->state().checked);
    window().click(u"Reset all settings"_s);
    EXPECT_TRUE(window().find(u"Provider"_s) != nullptr);
    EXPECT_FALSE(window().find(u"Number row"_s)->state().checked);
}

TEST_F(SettingActionTest, HasAnEmptyRowForAnUnknownAction)
{
    openPage({{u"page"_s,
               u"Page"_s,
               u"gearshape"_s,
               {{u"Section"_s, {{u"act.other"_s, u"Other"_s, catalogue::Action{u"act.other"_s}}}}}}},
             u"page"_s);
    EXPECT_EQ(window().names(), (QStringList{u"Page"_s, u"Section"_s, u"Section"_s}));
}

TEST_F(SettingActionTest, AsksForTheDictationScreen)
{
    openPage(u"dictation"_s);
    const QSignalSpy dictate(window().root(), SIGNAL(dictate()));
    window().click(u"Test voice typing"_s);
    EXPECT_EQ(dictate.size(), 1);
}

TEST_F(SettingActionTest, OpensTheToolbarEditor)
{
    openPage(u"layout"_s);
    window().click(u"Reorder & hide toolbar icons"_s);
    EXPECT_EQ(window().top()->property("title"), u"Toolbar icons"_s);
}

} // namespace

} // namespace kavrin::test
