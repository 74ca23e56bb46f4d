// SPDX-License-Identifier: MIT
#include "screens/search/Synonyms.h"

#include "catalogue/Catalogue.h"
#include "screens/search/SearchWords.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

bool isKnown(const QString &key)
{
    const auto hasId = [&key](const catalogue::Page &page) { return page.id == key; };
    return key == u"dictionary" || catalogue::items().contains(key)
        || std::ranges::any_of(catalogue::pages(), hasId);
}

TEST(Synonyms, AreOfSettingsActionsAndPagesThatExist)
{
    for (const search::Synonyms &row : search::synonyms()) {
        for (const QString &key : row.keys) {
            EXPECT_TRUE(isKnown(key)) << qPrintable(key);
        }
    }
}

TEST(Synonyms, AreWordsThatNotEveryTitleHas)
{
    for (const search::Synonyms &row : search::synonyms()) {
        for (const QString &word : search::wordsOf(row.words)) {
            const auto hasWord = [&word](const QString &key) {
                return search::wordsOf(catalogue::items().value(key).title).contains(word);
            };
            EXPECT_FALSE(std::ranges::all_of(row.keys, hasWord)) << qPrintable(word);
        }
    }
}

TEST(Synonyms, AreThoseOfEveryRowThatNamesTheKey)
{
    EXPECT_EQ(search::synonymsOf(u"dictionary"_s), u"words abbreviations snippets vocabulary");
    EXPECT_TRUE(search::synonymsOf(u"clipboard"_s).contains(u"privacy"));
    EXPECT_TRUE(search::synonymsOf(u"clipboard"_s).contains(u"paste"));
    EXPECT_EQ(search::synonymsOf(u"no such key"_s), QString());
}

} // namespace

} // namespace kavrin::test
