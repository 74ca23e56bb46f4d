// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Kavrinctl.h"

#include <gmock/gmock.h>

using namespace kavrin::test;
using namespace Qt::StringLiterals;

namespace
{

/// What may be in place of the last word, without what it is.
QStringList candidates(const QStringList &words)
{
    QStringList candidates;
    const QString output = kavrinctl(QStringList{u"complete"_s, u"--"_s} + words).output;
    for (const QString &line : output.split(u'\n', Qt::SkipEmptyParts)) {
        candidates.append(line.section(u'\t', 0, 0));
    }
    return candidates;
}

} // namespace

TEST(Completion, OffersWhatMayComeNext)
{
    const std::pair<QStringList, QStringList> rows[] = {
        {{u"where"_s, u""_s}, {u"--json"_s, u"--help"_s}},
        {{u"where"_s, u"--json"_s, u""_s}, {}},
        {{u"get"_s, u"rowH"_s, u""_s}, {u"--json"_s}},
        {{u"get"_s, u"rowH"_s, u"vGap"_s, u""_s}, {}},
        {{u"set"_s, u"trail"_s, u""_s}, {u"true"_s, u"false"_s, u"-"_s}},
        {{u"set"_s, u"hints"_s, u""_s}, {u"off"_s, u"numbers"_s, u"all"_s, u"-"_s}},
        {{u"set"_s, u"rowH"_s, u""_s}, {u"-"_s}},
        {{u"defaults"_s, u""_s}, {u"read"_s, u"write"_s, u"delete"_s, u"--help"_s}},
        {{u"defaults"_s, u"write"_s, u"key"_s, u""_s},
         {u"--bool"_s, u"--int"_s, u"--double"_s, u"--string"_s, u"--date"_s, u"--data"_s}},
        {{u"defaults"_s, u"write"_s, u"key"_s, u"--int"_s, u""_s}, {}},
        {{u"import"_s, u""_s}, {u"-"_s, u"--help"_s}},
        {{u"extract-code"_s, u""_s}, {u"-"_s, u"--lines"_s, u"--help"_s}},
        {{u"transcribe"_s, u"spe"_s}, {u"--help"_s}},
        {{u"dictate"_s, u"wait"_s, u""_s}, {u"--timeout"_s}},
        {{u"dictate"_s, u"wait"_s, u"--timeout"_s, u""_s}, {}},
        {{u"dictate"_s, u"start"_s, u""_s}, {}},
        {{u"setup"_s, u"server"_s, u""_s}, {u"--model"_s, u"--key"_s, u"--keep"_s}},
        {{u"setup"_s, u"server"_s, u"http://a/"_s, u"--model"_s, u"b"_s, u""_s}, {u"--key"_s, u"--keep"_s}},
        {{u"setup"_s, u"openai"_s, u""_s}, {u"--keep"_s}},
        {{u"nonsense"_s, u""_s}, {}},
    };
    for (const auto &[words, expected] : rows) {
        SCOPED_TRACE(words.join(u' ').toStdString());
        EXPECT_EQ(candidates(words), expected);
    }
}

TEST(Completion, OffersEverySettingAgainAndAgainToReset)
{
    for (const QStringList &words : {QStringList{u"reset"_s, u""_s}, {u"reset"_s, u"rowH"_s, u""_s}}) {
        EXPECT_TRUE(candidates(words).contains(u"vGap"_s));
        EXPECT_FALSE(candidates(words).contains(u"act.resetAll"_s));
    }
    EXPECT_TRUE(candidates({u"reset"_s, u""_s}).contains(u"--all"_s));
}

TEST(Completion, OffersToolsAfterThoseOfTheList)
{
    EXPECT_TRUE(candidates({u"tools"_s, u"set"_s, u""_s}).contains(u"gif"_s));
    EXPECT_TRUE(candidates({u"tools"_s, u"set"_s, u"emoji,gi"_s}).contains(u"emoji,gif"_s));
    EXPECT_TRUE(candidates({u"tools"_s, u"set"_s, u"emoji"_s, u"gi"_s}).contains(u"gif"_s));
}

TEST(Completion, OffersVerbsAndSaysWhatTheyAre)
{
    EXPECT_TRUE(candidates({u""_s}).contains(u"watch-messages"_s));
    EXPECT_TRUE(candidates({u"help"_s, u""_s}).contains(u"watch-messages"_s));
    EXPECT_TRUE(
        kavrinctl({u"complete"_s, u"--"_s, u"get"_s, u""_s}).output.contains(u"rowH\tKey height\n"_s));
}
