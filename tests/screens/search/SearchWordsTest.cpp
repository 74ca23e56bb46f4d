// SPDX-License-Identifier: MIT
#include "screens/search/SearchWords.h"

#include <gtest/gtest.h>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;
using search::Fit;

TEST(SearchWords, AreSmallLettersWithoutAccentsAndDigits)
{
    const std::pair<QString, QStringList> rows[] = {
        {u""_s, {}},
        {u" … "_s, {}},
        {u"Key height"_s, {u"key"_s, u"height"_s}},
        {u"Auto-correction"_s, {u"auto"_s, u"correction"_s}},
        {u"Türkçe (Turkish Q)"_s, {u"turkce"_s, u"turkish"_s, u"q"_s}},
        {u"TÜRKÇE"_s, {u"turkce"_s}},
        {u"I/ı and İ/i"_s, {u"i"_s, u"i"_s, u"and"_s, u"i"_s, u"i"_s}},
        {u"Łódź, Tromsø"_s, {u"lodz"_s, u"tromso"_s}},
        {u"Français"_s, {u"francais"_s}},
        {u"ﬁeld"_s, {u"field"_s}},
        {u"Ελληνικά"_s, {u"ελληνικα"_s}},
        {u"中文"_s, {u"中文"_s}},
        {u"PG-13 100%"_s, {u"pg"_s, u"13"_s, u"100"_s}},
    };
    for (const auto &[text, words] : rows) {
        EXPECT_EQ(search::wordsOf(text), words) << qPrintable(text);
    }
}

TEST(SearchWords, FitWholeAsABeginningOrWithOneTypingError)
{
    struct Row {
        QString typed;
        QString word;
        Fit expected;
    };
    const Row rows[] = {
        {u"size"_s, u"size"_s, Fit::Whole},
        {u"si"_s, u"size"_s, Fit::Beginning},
        {u"s"_s, u"size"_s, Fit::Beginning},
        {u"ize"_s, u"prize"_s, Fit::None},
        {u"sise"_s, u"size"_s, Fit::Mistyped}, // a wrong letter
        {u"xize"_s, u"size"_s, Fit::Mistyped}, // the first one, too
        {u"sizze"_s, u"size"_s, Fit::Mistyped}, // one too many
        {u"sizer"_s, u"size"_s, Fit::Mistyped}, // at the end
        {u"sze"_s, u"size"_s, Fit::Mistyped}, // one too few
        {u"szie"_s, u"size"_s, Fit::Mistyped}, // two in the wrong order
        {u"isze"_s, u"size"_s, Fit::Mistyped},
        {u"sozr"_s, u"size"_s, Fit::None}, // two errors
        {u"szei"_s, u"size"_s, Fit::None},
        {u"vibrat"_s, u"vibration"_s, Fit::Beginning},
        {u"vibart"_s, u"vibration"_s, Fit::Mistyped}, // the beginning of a word
        {u"vbra"_s, u"vibration"_s, Fit::Mistyped},
        {u"vba"_s, u"vibration"_s, Fit::None}, // three letters must be a whole word
        {u"kye"_s, u"key"_s, Fit::Mistyped},
        {u"ky"_s, u"key"_s, Fit::None}, // two letters are never mistyped
        {u"x"_s, u"key"_s, Fit::None},
        {u"keys"_s, u"key"_s, Fit::Mistyped},
        {u"keyboard"_s, u"key"_s, Fit::None},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(search::fit(row.typed, row.word), row.expected)
            << qPrintable(row.typed) << " for " << qPrintable(row.word);
    }
}

} // namespace

} // namespace kavrin::test
