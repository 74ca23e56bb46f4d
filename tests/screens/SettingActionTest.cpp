// SPDX-License-Identifier: MIT
#include "screens/Screens.h"

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
    const QString denied = u"Denied. Enable Contacts for Kavrin in iOS Settings."_qs;
    for (const Case &c : std::vector<Case>{{Status::NotDetermined, u"Allow contacts access"_qs},
                                           {Status::Restricted, denied},
                                           {Status::Denied, denied},
                                           {Status::Authorized, u"Allowed"_qs}}) {
        contacts.status = c.status;
        openPage(u"extensions"_qs);
        EXPECT_EQ(window().names().last(), c.row);
    }
}

TEST_F(SettingActionTest, ShowsTheAnswerAboutContactsWithoutLeavingThePage)
{
    for (const auto &[answer, row] : std::vector<std::pair<Status, QString>>{
             {Status::Denied, u"Denied. Enable Contacts for Kavrin in iOS Settings."_qs},
             {Status::Authorized, u"Allowed"_qs}}) {
        contacts.status = Status::NotDetermined;
        openPage(u"extensions"_qs);
        window().click(u"Allow contacts access"_qs);
        contacts.settle(answer);
        EXPECT_EQ(window().names().last(), row);
    }
}

TEST_F(SettingActionTest, SaysWhetherTheKeyboardHasBeenSeenInTheSuite)
{
    openPage(u"advanced"_qs);
    EXPECT_TRUE(window().find(u"Not shared (keyboard keeps its own copy)"_qs) != nullptr);
    EXPECT_TRUE(
        window().find(u"Sideloading often strips the App Group. Use “Copy all settings & keys” here, then "
                      u"“Import settings from clipboard” in the keyboard's own settings."_qs)
        != nullptr);
    Shared::d().set(u"probeKb"_qs, false);
    openPage(u"advanced"_qs);
    EXPECT_TRUE(window().find(u"Keyboard and app share settings"_qs) != nullptr);
    EXPECT_TRUE(window().find(u"Not shared (keyboard keeps its own copy)"_qs) == nullptr);
}

TEST_F(SettingActionTest, CopiesAllSettingsAndSaysSoUntilThePageIsLeft)
{
    Prefs::set(u"openaiKey"_qs, u"a key"_qs);
    openPage(u"advanced"_qs);
    window().click(u"Copy all settings & keys"_qs);
    EXPECT_EQ(pasteboard.string, Prefs::exportBlob());
    EXPECT_TRUE(pasteboard.isSecret);
    const QString note = u"Copied. Open the keyboard settings and import."_qs;
    EXPECT_TRUE(window().find(note) != nullptr);
    openPage(u"advanced"_qs);
    EXPECT_TRUE(window().find(note) == nullptr);
}

TEST_F(SettingActionTest, CopiesEvenAnExportThatFailed)
{
    Shared::d().set(u"rowH"_qs, Date{1});
    pasteboard.string = u"before"_qs;
    openPage(u"advanced"_qs);
    window().click(u"Copy all settings & keys"_qs);
    EXPECT_EQ(pasteboard.string, QString());
    EXPECT_TRUE(window().find(u"Copied. Open the keyboard settings and import."_qs) != nullptr);
}

TEST_F(SettingActionTest, ResetsEverythingButKeysAtOnce)
{
    Prefs::set(u"numberRow"_qs, true);
    Prefs::set(u"rowH"_qs, 60.0);
    Prefs::set(u"dictMode"_qs, u"system"_qs);
    Prefs::set(u"openaiKey"_qs, u"a key"_qs);
    openPage(u"advanced"_qs);
    window().click(u"Reset all settings"_qs);
    EXPECT_FALSE(stored(u"numberRow"_qs));
    EXPECT_FALSE(stored(u"rowH"_qs));
    EXPECT_FALSE(stored(u"dictMode"_qs));
    EXPECT_EQ(stored(u"openaiKey"_qs), PropertyListValue(u"a key"_qs));
    EXPECT_EQ(window().find(u"Reset all settings"_qs)->text(QAccessible::Description),
              u"API keys are kept."_qs);
}

TEST_F(SettingActionTest, ResettingOnAPageShowsItsDefaultsAndRowsAgain)
{
    std::vector<Prefs::Page> catalogue = Prefs::pages();
    Prefs::Page &dictation = catalogue[7];
    dictation.sections[0].items.push_back(*Prefs::items().constFind(u"numberRow"_qs));
    dictation.sections[0].items.push_back(*Prefs::items().constFind(u"act.resetAll"_qs));
    Prefs::set(u"numberRow"_qs, true);
    Prefs::set(u"dictMode"_qs, u"system"_qs);
    openPage(catalogue, u"dictation"_qs);
    EXPECT_TRUE(window().find(u"Provider"_qs) == nullptr);
    EXPECT_TRUE(window().find(u"Number row"_qs)->state().checked);
    window().click(u"Reset all settings"_qs);
    EXPECT_TRUE(window().find(u"Provider"_qs) != nullptr);
    EXPECT_FALSE(window().find(u"Number row"_qs)->state().checked);
}

TEST_F(SettingActionTest, HasAnEmptyRowForAnUnknownAction)
{
    openPage({{u"page"_qs,
               u"Page"_qs,
               u"gearshape"_qs,
               {{u"Section"_qs, {{u"act.other"_qs, u"Other"_qs, catalogue::Action{u"act.other"_qs}}}}}}},
             u"page"_qs);
    EXPECT_EQ(window().names(), (QStringList{u"Page"_qs, u"Section"_qs, u"Section"_qs}));
}

TEST_F(SettingActionTest, AsksForTheDictationScreen)
{
    openPage(u"dictation"_qs);
    const QSignalSpy dictate(window().root(), SIGNAL(dictate()));
    window().click(u"Test voice typing"_qs);
    EXPECT_EQ(dictate.size(), 1);
}

TEST_F(SettingActionTest, OpensTheToolbarEditor)
{
    openPage(u"layout"_qs);
    window().click(u"Reorder & hide toolbar icons"_qs);
    EXPECT_EQ(window().top()->property("title"), u"Toolbar icons"_qs);
}

} // namespace

} // namespace kavrin::test
