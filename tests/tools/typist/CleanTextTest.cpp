// SPDX-License-Identifier: MIT
#include "tools/typist/CleanText.h"

#include <gtest/gtest.h>

namespace kavrin
{

namespace
{

using namespace Qt::StringLiterals;

struct Row {
    QString text;
    QString typed;
};

} // namespace

TEST(CleanText, LeavesOutWhatWouldAct)
{
    const Row rows[] = {
        {u""_s, u""_s},
        {u"Grüße – 2 €, naïve Straße, 日本語, 👍🏽"_s, u"Grüße – 2 €, naïve Straße, 日本語, 👍🏽"_s},
        {u"a  b\u00A0c"_s, u"a  b\u00A0c"_s},
        {u" Hello.\n"_s, u"Hello."_s},
        {u"one\ntwo"_s, u"one two"_s},
        {u"one\r\ntwo\rthree"_s, u"one two three"_s},
        {u"one \n two"_s, u"one two"_s},
        {u"one\n\n \ntwo"_s, u"one two"_s},
        {u"one\u000Btwo\u000Cthree\u0085four\u2028five\u2029six"_s, u"one two three four five six"_s},
        {u"\n \r\n"_s, u""_s},
        {u"one\ttwo"_s, u"one two"_s},
        {u"rm\u001B[201~\u0003\u0004\u007F\u0008 x"_s, u"rm[201~ x"_s},
        {u"\u0080a\u009Bb\u009F"_s, u"ab"_s},
        {QString(u'a') + QChar(0) + u'b', u"ab"_s},
        {u"a\u202Eb\u202Cc\u2067d\u2069e"_s, u"abcde"_s},
        {QString(u'a') + QChar(0xD83D) + u'b' + QChar(0xDC4D), u"ab"_s},
    };
    for (const auto &[text, typed] : rows) {
        EXPECT_EQ(cleanText(text), typed) << text.toStdString();
    }
}

TEST(CleanText, LeavesInWhatEmojiAndScriptsNeed)
{
    const QString texts[] = {
        u"👩\u200D🚀"_s, // a joiner
        u"❤\uFE0F"_s, // a variation selector
        u"🏴\U000E0067\U000E0062\U000E0065\U000E006E\U000E0067\U000E007F"_s, // tags
        u"می\u200Cخواهم"_s, // a non-joiner
        u"\u200Fעברית\u200E"_s, // marks of direction
        u"e\u0301"_s, // a combining accent
        u"co\u00ADoperate"_s, // a soft hyphen
    };
    for (const QString &text : texts) {
        EXPECT_EQ(cleanText(text), text) << text.toStdString();
    }
}

} // namespace kavrin
