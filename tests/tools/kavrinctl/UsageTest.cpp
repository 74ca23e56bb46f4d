// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Kavrinctl.h"

#include <gtest/gtest.h>

using namespace kavrin::test;
using namespace Qt::StringLiterals;

TEST(Kavrinctl, WrongUsageIsExplainedOnStandardErrorWithCode2)
{
    const QStringList rows[] = {
        {},
        {u"nonsense"_s},
        {u"get"_s},
        {u"get"_s, u"rowH"_s, u"vGap"_s},
        {u"get"_s, u"--colour"_s},
        {u"set"_s, u"rowH"_s},
        {u"where"_s, u"there"_s},
        {u"defaults"_s},
        {u"defaults"_s, u"guess"_s},
        {u"defaults"_s, u"write"_s, u"key"_s, u"--float"_s, u"1"_s},
        {u"defaults"_s, u"write"_s, u"key"_s, u"--int"_s},
        {u"tools"_s, u"set"_s, u"gif"_s},
        {u"transcribe"_s},
        {u"dictate"_s},
        {u"dictate"_s, u"sing"_s},
        {u"dictate"_s, u"wait"_s, u"--timeout"_s},
        {u"dictate"_s, u"wait"_s, u"--timeout"_s, u"-1"_s},
        {u"doctor"_s, u"me"_s},
        {u"setup"_s},
        {u"setup"_s, u"another"_s},
        {u"setup"_s, u"openai"_s, u"sk-1"_s},
        {u"setup"_s, u"server"_s},
        {u"setup"_s, u"server"_s, u"http://a/"_s, u"--model"_s},
        {u"doctor"_s, u"--colour"_s},
        {u"export"_s, u"now"_s},
        {u"reset"_s},
        {u"reset"_s, u"--all"_s, u"rowH"_s},
    };
    for (const QStringList &arguments : rows) {
        SCOPED_TRACE(arguments.join(u' ').toStdString());
        const Outcome outcome = kavrinctl(arguments);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.output, u"");
        EXPECT_FALSE(outcome.errors.isEmpty());
    }
}

TEST(Kavrinctl, EveryVerbExplainsItself)
{
    const Outcome general = kavrinctl({u"--help"_s});
    EXPECT_EQ(general.exitCode, 0);
    for (const QString &verb :
         {u"where"_s, u"catalogue"_s, u"get"_s, u"set"_s, u"defaults"_s, u"tools"_s, u"export"_s, u"import"_s,
          u"reset"_s, u"extract-code"_s, u"save-code"_s, u"transcribe"_s, u"dictate"_s, u"type"_s,
          u"watch-messages"_s, u"doctor"_s, u"setup"_s}) {
        EXPECT_TRUE(general.output.contains(u"  "_s + verb + u' ')) << verb.toStdString();
        const Outcome help = kavrinctl({verb, u"--help"_s});
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_TRUE(help.output.contains(u"kavrinctl "_s + verb)) << verb.toStdString();
    }
}

TEST(Kavrinctl, TellsItsVersion)
{
    EXPECT_EQ(kavrinctl({u"--version"_s}).output, u"kavrinctl " KAVRIN_VERSION "\n");
}
