// SPDX-License-Identifier: MIT
#include "screens/TextMerge.h"

#include "support/QmlWindow.h"

#include <gtest/gtest.h>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

TEST(TextMerge, ShowsLineEndsOfAllKindsAlikeAndAllElseAsItIs)
{
    EXPECT_EQ(shownText(u"a\r\nb\rc\nd\u2029e"_s), u"a\nb\nc\nd\ne"_s);
    EXPECT_EQ(shownText(u"a\u00a0b\u2028c\u202fd\ufeff \t"_s), u"a\u00a0b\u2028c\u202fd\ufeff \t"_s);
}

TEST(TextMerge, AnEditLeavesAllElseAsItIsStored)
{
    struct Case {
        QString stored;
        QString now;
        QString expected;
    };
    const std::vector<Case> cases = {
        {u""_s, u"a"_s, u"a"_s},
        {u"a"_s, u""_s, u""_s},
        {u"a\r\nb\r\nc"_s, u"a\nbx\nc"_s, u"a\r\nbx\r\nc"_s},
        {u"a\r\nb\r\nc"_s, u"a\nb\nc\nd"_s, u"a\r\nb\r\nc\nd"_s},
        {u"a\r\nb\r\nc"_s, u"ab\nc"_s, u"ab\r\nc"_s},
        {u"a\r\n\r\nb"_s, u"a\nb"_s, u"a\r\nb"_s},
        {u"a\rb\u2029c"_s, u"a\nb\ncd"_s, u"a\rb\u2029cd"_s},
        {u"😀\r\n"_s, u"😁\n"_s, u"😁\r\n"_s},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(withEdit(c.stored, shownText(c.stored), c.now), c.expected);
    }
}

TEST(TextMerge, JoinsWhatTwoHaveChanged)
{
    struct Case {
        const char *name;
        QString base;
        QString mine;
        QString theirs;
        QString expected;
    };
    const std::vector<Case> cases = {
        {"only I", u"a\nb"_s, u"a\nbc"_s, u"a\nb"_s, u"a\nbc"_s},
        {"only they", u"a\nb"_s, u"a\nb"_s, u"a\nb\nc"_s, u"a\nb\nc"_s},
        {"both the same", u"a"_s, u"a\nb"_s, u"a\nb"_s, u"a\nb"_s},
        {"I the last line, they append", u"a\nb"_s, u"a\nbc"_s, u"a\nb\nnew"_s, u"a\nbc\nnew"_s},
        {"I begin a line, they append", u"a\n"_s, u"a\nx"_s, u"a\nnew\n"_s, u"a\nnew\nx"_s},
        {"the same without line end", u"a\n"_s, u"a\nx"_s, u"a\nnew"_s, u"a\nnew\nx"_s},
        {"both append", u"a"_s, u"a\n"_s, u"a\nnew"_s, u"a\nnew\n"_s},
        {"both the first line", u""_s, u"x"_s, u"new"_s, u"new\nx"_s},
        {"I at the end, they before", u"a\nb\nc"_s, u"a\nb\ncd"_s, u"new\na\nb\nc"_s, u"new\na\nb\ncd"_s},
        {"I delete all, they append", u"a\nb\n"_s, u""_s, u"a\nb\nnew\n"_s, u"new\n"_s},
        {"the same line", u"omw\nb"_s, u"omwa\nb"_s, u"omw=on my way\nb"_s, u"omw=on my way\nomwa\nb"_s},
        {"they replace all", u"a\nb"_s, u"a\nbc"_s, u"x\ny"_s, u"x\ny\nbc"_s},
        {"they replace what I delete", u"a\nb"_s, u"a"_s, u"a\nc"_s, u"a\nc"_s},
        {"line ends of another kind", u"a\r\nb"_s, u"a\r\nbc"_s, u"a\r\nb\nd"_s, u"a\r\nbc\nd"_s},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(mergedText(c.base, c.mine, c.theirs), c.expected);
    }
}

} // namespace

} // namespace kavrin::test
