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
        {u"catalogue"_s, u"height"_s},
        {u"catalogue"_s, u"--find"_s},
        {u"catalogue"_s, u"--find"_s, u"height"_s, u"--json"_s},
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

TEST(Kavrinctl, HelpIsAskedForInEveryUsualWay)
{
    const QString general = kavrinctl({u"--help"_s}).output;
    const QString ofGet = kavrinctl({u"get"_s, u"--help"_s}).output;
    EXPECT_NE(general, ofGet);
    const std::pair<QStringList, QString> rows[] = {
        {{u"-h"_s}, general},           {{u"help"_s}, general},
        {{u"help"_s, u"get"_s}, ofGet}, {{u"--help"_s, u"get"_s}, ofGet},
        {{u"get"_s, u"-h"_s}, ofGet},
    };
    for (const auto &[arguments, expected] : rows) {
        SCOPED_TRACE(arguments.join(u' ').toStdString());
        const Outcome outcome = kavrinctl(arguments);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.output, expected);
    }
}

TEST(Kavrinctl, AMistypedWordIsAnsweredWithTheOneThatWasMeant)
{
    struct Row {
        QStringList arguments;
        int exitCode;
        QString answer;
    };
    const QString verbList = u"\"kavrinctl --help\" lists what there is."_s;
    const QString settingList = u"\"kavrinctl catalogue\" lists them all."_s;
    const Row rows[] = {
        {{u"gett"_s, u"rowH"_s}, 2, u"Did you mean get?"_s},
        {{u"Get"_s, u"rowH"_s}, 2, u"Did you mean get?"_s},
        {{u"ste"_s, u"rowH"_s, u"50"_s}, 2, u"Did you mean set?"_s},
        {{u"catalog"_s}, 2, u"Did you mean catalogue?"_s},
        {{u"savecode"_s}, 2, u"Did you mean save-code?"_s},
        {{u"help"_s, u"wehre"_s}, 2, u"Did you mean where?"_s},
        {{u"nonsense"_s}, 2, verbList},
        {{u"x"_s}, 2, verbList},
        {{u""_s}, 2, verbList},
        {{u"get"_s, u"rowh"_s}, 1, u"Did you mean rowH?"_s},
        {{u"get"_s, u"ROWH"_s}, 1, u"Did you mean rowH?"_s},
        {{u"set"_s, u"numberow"_s, u"on"_s}, 1, u"Did you mean numberRow?"_s},
        {{u"reset"_s, u"openaikey"_s}, 1, u"Did you mean openaiKey?"_s},
        {{u"get"_s, u"height"_s}, 1, settingList},
    };
    for (const auto &[arguments, exitCode, answer] : rows) {
        SCOPED_TRACE(arguments.join(u' ').toStdString());
        const Outcome outcome = kavrinctl(arguments);
        EXPECT_EQ(outcome.exitCode, exitCode);
        EXPECT_TRUE(outcome.errors.endsWith(answer + u'\n')) << outcome.errors.toStdString();
    }
}

TEST(Kavrinctl, WhatIsMissingIsNamed)
{
    const std::pair<QStringList, QString> rows[] = {
        {{u"get"_s}, u"KEY is missing."_s},
        {{u"set"_s}, u"KEY and VALUE are missing."_s},
        {{u"set"_s, u"rowH"_s}, u"VALUE is missing."_s},
        {{u"reset"_s}, u"KEY or --all is missing."_s},
        {{u"transcribe"_s}, u"FILE is missing."_s},
        {{u"defaults"_s}, u"read, write or delete is missing."_s},
        {{u"defaults"_s, u"write"_s, u"key"_s, u"--int"_s}, u"VALUE is missing."_s},
        {{u"defaults"_s, u"delete"_s}, u"KEY is missing."_s},
        {{u"tools"_s, u"set"_s, u"gif"_s}, u"HIDDEN is missing."_s},
        {{u"dictate"_s}, u"start, stop, toggle, cancel, again, status or wait is missing."_s},
        {{u"type"_s}, u"toggle, press, release, cancel or shortcut is missing."_s},
        {{u"setup"_s}, u"embedded, server, openai or gemini is missing."_s},
        {{u"setup"_s, u"server"_s}, u"URL is missing."_s},
    };
    for (const auto &[arguments, expected] : rows) {
        const Outcome outcome = kavrinctl(arguments);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.errors.section(u'\n', 0, 0), u"kavrinctl: "_s + expected);
    }
}

TEST(Kavrinctl, TellsItsVersion)
{
    EXPECT_EQ(kavrinctl({u"--version"_s}).output, u"kavrinctl " KAVRIN_VERSION "\n");
}
