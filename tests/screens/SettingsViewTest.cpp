// SPDX-License-Identifier: MIT
#include "screens/Screens.h"

namespace kavrin::test
{

namespace
{

using SettingsViewTest = Screens;

TEST_F(SettingsViewTest, ListsSetupThenEveryPageThenTheDictionary)
{
    openSettings();
    QStringList expected = {
        u"Kavrin"_qs, u"Setup"_qs, u"Setup"_qs,
        u"Settings › General › Keyboard › Keyboards › Add New Keyboard › Kavrin, then enable Allow Full Access."_qs,
        u"Try the keyboard here"_qs};
    for (const Prefs::Page &page : Prefs::pages()) {
        expected.append(page.title);
    }
    expected.append(u"Personal dictionary & shortcuts"_qs);
    EXPECT_EQ(window().names(), expected);
}

TEST_F(SettingsViewTest, OpensEveryPageAndTheDictionary)
{
    openSettings();
    QStringList titles;
    for (const Prefs::Page &page : Prefs::pages()) {
        titles.append(page.title);
    }
    for (const QString &row : titles + QStringList{u"Personal dictionary & shortcuts"_qs}) {
        openSettings();
        window().click(row);
        EXPECT_EQ(window().top()->property("title").toString(),
                  titles.contains(row) ? row : u"Dictionary"_qs);
    }
}

TEST_F(SettingsViewTest, KeepsTheTextOfTheTryOutFieldWhileAPageIsVisited)
{
    openSettings();
    window().click(u"Try the keyboard here"_qs);
    window().type(u"trial"_qs);
    window().click(u"Gestures"_qs);
    window().goBack();
    EXPECT_EQ(window().item(u"Try the keyboard here"_qs)->property("text"), u"trial"_qs);
    EXPECT_TRUE(Shared::d().dictionaryRepresentation().empty());
}

} // namespace

} // namespace kavrin::test
