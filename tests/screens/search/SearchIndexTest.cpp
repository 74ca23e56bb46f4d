// SPDX-License-Identifier: MIT
#include "screens/search/SearchIndex.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;
using namespace catalogue;

QString asItIs(const QString &text)
{
    return text;
}

/// What is found, as keys; a page as "page:" and its id.
QStringList found(const search::Index &index, const QString &text)
{
    QStringList keys;
    for (const search::Entry &entry : index.find(text)) {
        keys.append(entry.key.isEmpty() ? u"page:"_s + entry.page : entry.key);
    }
    return keys;
}

QStringList foundInCatalogue(const QString &text)
{
    static const search::Index index(search::entriesOf(pages(), asItIs));
    return found(index, text);
}

TEST(SearchIndex, FindsFirstWhatPeopleMean)
{
    const std::pair<QString, QString> rows[] = {
        {u"height"_s, u"rowH"_s},
        {u"key height"_s, u"rowH"_s},
        {u"dark"_s, u"capDark"_s},
        {u"vibration"_s, u"keyHaptic"_s},
        {u"vibratoin"_s, u"keyHaptic"_s},
        {u"colour"_s, u"accent"_s},
        {u"turkce"_s, u"langExtra_tr"_s},
        {u"TÜRKÇE"_s, u"langExtra_tr"_s},
        {u"number row"_s, u"numberRow"_s},
        {u"row number"_s, u"numberRow"_s},
        {u"autocorrect"_s, u"autoCorrect"_s},
        {u"auto-correct"_s, u"autoCorrect"_s},
        {u"spacebar"_s, u"punctKeys"_s},
        {u"gestures"_s, u"page:gestures"_s},
        {u"gestrues"_s, u"page:gestures"_s},
        {u"gemini key"_s, u"geminiKey"_s},
        {u"purple"_s, u"accent"_s},
        {u"whisper"_s, u"page:dictation"_s},
        {u"home indicator"_s, u"bottomPad"_s},
        {u"reset"_s, u"act.resetAll"_s},
        {u"password"_s, u"openaiKey"_s},
    };
    for (const auto &[text, key] : rows) {
        const QStringList keys = foundInCatalogue(text);
        EXPECT_EQ(keys.value(0), key) << qPrintable(text) << " finds " << qPrintable(keys.join(u' '));
    }
}

TEST(SearchIndex, FindsAlso)
{
    const std::pair<QString, QString> rows[] = {
        {u"dark"_s, u"capDark"_s},    {u"size"_s, u"rowH"_s},
        {u"size"_s, u"labelSize"_s},  {u"key"_s, u"hGap"_s},
        {u"key"_s, u"openaiKey"_s},   {u"vibration"_s, u"hapticStyle"_s},
        {u"gemini"_s, u"provider"_s}, {u"gemini"_s, u"translateEngine"_s},
        {u"layout"_s, u"language"_s}, {u"layout height"_s, u"rowH"_s},
    };
    for (const auto &[text, key] : rows) {
        const QStringList keys = foundInCatalogue(text);
        EXPECT_TRUE(keys.contains(key)) << qPrintable(text) << " finds " << qPrintable(keys.join(u' '));
    }
}

TEST(SearchIndex, FindsNothingForNoWordOrForOneThatNothingHas)
{
    for (const QString &text : {u""_s, u" "_s, u"…"_s, u"xylophone"_s, u"height xylophone"_s}) {
        EXPECT_EQ(foundInCatalogue(text), QStringList()) << qPrintable(text);
    }
}

TEST(SearchIndex, FindsEveryRowByItsTitleAndEveryOptionByItsLabel)
{
    for (const Page &page : pages()) {
        EXPECT_TRUE(foundInCatalogue(page.title).contains(u"page:"_s + page.id));
        for (const Sect &section : page.sections) {
            for (const Item &item : section.items) {
                EXPECT_EQ(foundInCatalogue(item.title).contains(item.key), !item.onlyInKeyboard)
                    << qPrintable(item.title);
                if (const auto *choice = std::get_if<Choice>(&item.kind)) {
                    for (const Opt &option : choice->options) {
                        EXPECT_TRUE(foundInCatalogue(option.t).contains(item.key)) << qPrintable(option.t);
                    }
                }
            }
        }
    }
}

/// A page with one row for each text, in this order.
search::Index indexOf(const std::vector<Item> &items)
{
    return search::Index(
        search::entriesOf({{u"page"_s, u"Page"_s, u"gearshape"_s, {{u"Section"_s, items}}}}, asItIs));
}

TEST(SearchIndex, PutsTitlesBeforeOptionsBeforeSectionsBeforeFooters)
{
    const Choice choice = {u"a"_s, {{u"a"_s, u"Word"_s}}};
    const search::Index index = indexOf({{u"footer"_s, u"A"_s, Toggle{}, u"The word."_s},
                                         {u"option"_s, u"B"_s, choice},
                                         {u"title"_s, u"Word"_s, Toggle{}},
                                         {u"beginning"_s, u"Wordy"_s, Toggle{}}});
    EXPECT_EQ(found(index, u"word"_s), (QStringList{u"title"_s, u"beginning"_s, u"option"_s, u"footer"_s}));
}

TEST(SearchIndex, KeepsTheOrderOfTheCatalogueAmongEquals)
{
    const search::Index index = indexOf({{u"b"_s, u"Word b"_s, Toggle{}}, {u"a"_s, u"Word a"_s, Toggle{}}});
    EXPECT_EQ(found(index, u"word"_s), (QStringList{u"b"_s, u"a"_s}));
}

TEST(SearchIndex, TakesAWordForMistypedOnlyIfNoWordBeginsWithIt)
{
    const search::Index index =
        indexOf({{u"tower"_s, u"Tower"_s, Toggle{}}, {u"power"_s, u"Power"_s, Toggle{}}});
    EXPECT_EQ(found(index, u"tower"_s), QStringList{u"tower"_s});
    EXPECT_EQ(found(index, u"xower"_s), (QStringList{u"tower"_s, u"power"_s}));
}

TEST(SearchIndex, FindsNoRowByItsPageAlone)
{
    const search::Index index = indexOf({{u"row"_s, u"Row"_s, Toggle{}}});
    EXPECT_EQ(found(index, u"page"_s), QStringList{u"page:page"_s});
    EXPECT_EQ(found(index, u"page row"_s), QStringList{u"row"_s});
}

TEST(SearchIndex, SearchesTheWordsThatAreShown)
{
    const auto wording = [](const QString &text) { return text == u"Row" ? u"Shown"_s : text; };
    const search::Index index(search::entriesOf(
        {{u"page"_s, u"Page"_s, u"gearshape"_s, {{u"Section"_s, {{u"row"_s, u"Row"_s, Toggle{}}}}}}},
        wording));
    EXPECT_EQ(found(index, u"row"_s), QStringList());
    EXPECT_EQ(found(index, u"shown"_s), QStringList{u"row"_s});
    EXPECT_EQ(index.find(u"shown"_s).front().title, u"Shown");
}

} // namespace

} // namespace kavrin::test
