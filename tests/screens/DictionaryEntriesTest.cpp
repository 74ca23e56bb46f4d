// SPDX-License-Identifier: MIT
#include "screens/DictionaryEntries.h"

#include <gtest/gtest.h>

namespace kavrin::test
{

using namespace Qt::StringLiterals;

TEST(DictionaryEntries, AreCountedOnce)
{
    const std::pair<QString, QString> cases[] = {
        {u""_s, u"No entries yet"_s},
        {u"\n \n"_s, u"No entries yet"_s},
        {u"Kavrin"_s, u"1 word"_s},
        {u"omw=on my way\n"_s, u"1 shortcut"_s},
        {u"one\ntwo\nomw = on my way"_s, u"2 words and 1 shortcut"_s},
        {u"one\n one \na=b\na=c\nb=c"_s, u"1 word and 2 shortcuts"_s},
        {u"One\none"_s, u"2 words"_s},
        {u"a=\n=b\n="_s, u"No entries yet"_s},
        {u"a=b=c"_s, u"1 shortcut"_s},
    };
    for (const auto &[text, count] : cases) {
        EXPECT_EQ(DictionaryEntries::in(text).count(), count) << text.toStdString();
    }
}

TEST(DictionaryEntries, AreMarkedWhereTheyRepeatOrLackASide)
{
    const std::pair<QString, QList<DictionaryMark>> cases[] = {
        {u"one\n\nomw=on my way\nomw"_s, {}},
        {u"one\ntwo\none\n one"_s,
         {{8, 11, u"“one” is there already."_s}, {12, 16, u"“one” is there already."_s}}},
        {u"a=b\n a =c"_s, {{4, 9, u"“a=” is there already."_s}}},
        {u"x\nomw = "_s, {{2, 8, u"Nothing is after “omw=”."_s}}},
        {u"x\n=on my way"_s, {{2, 12, u"Nothing is before “=on my way”."_s}}},
        {u"="_s, {{0, 1, u"Nothing is before “=”."_s}}},
        {u"a=\na=b"_s, {{0, 2, u"Nothing is after “a=”."_s}}},
    };
    for (const auto &[text, marks] : cases) {
        EXPECT_EQ(DictionaryEntries::in(text).marks, marks) << text.toStdString();
    }
}

} // namespace kavrin::test
