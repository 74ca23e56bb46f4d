// SPDX-License-Identifier: MIT
#include "screens/Screens.h"

namespace kavrin::test
{

namespace
{

using SettingsViewTest = Screens;

TEST_F(SettingsViewTest, ListsSetupThenEveryPageThenTheDictionaryAndTheHelp)
{
    openSettings();
    QStringList expected = {
        u"Kavrin"_s, u"Setup"_s, u"Setup"_s,
        u"Install a keyboard that is built for Kavrin, and choose it in your desktop's settings. It finds these settings by itself."_s,
        u"Try the keyboard here"_s};
    for (const Prefs::Page &page : Prefs::pages()) {
        expected.append(page.title);
    }
    expected += {u"Personal dictionary & shortcuts"_s, u"Help"_s, u"Search"_s};
    EXPECT_EQ(window().names(), expected);
}

TEST_F(SettingsViewTest, OpensEveryPageTheDictionaryAndTheHelp)
{
    openSettings();
    QStringList titles;
    for (const Prefs::Page &page : Prefs::pages()) {
        titles.append(page.title);
    }
    titles.append(u"Help"_s);
    for (const QString &row : titles + QStringList{u"Personal dictionary & shortcuts"_s}) {
        openSettings();
        window().click(row);
        EXPECT_EQ(window().top()->property("title").toString(), titles.contains(row) ? row : u"Dictionary"_s);
    }
}

TEST_F(SettingsViewTest, KeepsTheTextOfTheTryOutFieldWhileAPageIsVisited)
{
    openSettings();
    window().click(u"Try the keyboard here"_s);
    window().type(u"trial"_s);
    window().click(u"Gestures"_s);
    window().goBack();
    EXPECT_EQ(window().item(u"Try the keyboard here"_s)->property("text"), u"trial"_s);
    EXPECT_TRUE(Shared::d().dictionaryRepresentation().value.empty());
}

} // namespace

} // namespace kavrin::test
