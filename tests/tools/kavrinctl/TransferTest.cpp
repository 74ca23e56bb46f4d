// SPDX-License-Identifier: MIT
#include "store/Prefs.h"
#include "store/Shared.h"
#include "support/Paths.h"
#include "support/Recordings.h"
#include "support/ScriptedServer.h"
#include "support/Suite.h"
#include "tools/kavrinctl/Kavrinctl.h"

#include <QProcess>

#include <gtest/gtest.h>

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

TEST(Kavrinctl, ExportOfAFreshInstallIsTheEmptyBlob)
{
    EXPECT_EQ(kavrinctl({u"export"_s}).output, u"KAVRINCFG1:e30=\n");
}

TEST(Kavrinctl, WhatExportWritesImportReadsFromAnArgumentOrStandardInput)
{
    Prefs::set(u"rowH"_s, 60.0);
    Prefs::set(u"openaiKey"_s, u"sk"_s);
    const QString blob = kavrinctl({u"export"_s}).output;
    const std::pair<QStringList, QByteArray> rows[] = {
        {{u"import"_s, blob.trimmed()}, {}},
        {{u"import"_s, u"-"_s}, blob.toUtf8()},
        {{u"import"_s}, blob.toUtf8()},
    };
    for (const auto &[arguments, input] : rows) {
        Prefs::reset({u"rowH"_s, u"openaiKey"_s});
        const Outcome outcome = kavrinctl(arguments, input);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.output, u"2 settings imported.\n");
        EXPECT_EQ(Shared::d().object(u"rowH"_s), PropertyListValue(60.0));
        EXPECT_EQ(Shared::d().string(u"openaiKey"_s), u"sk"_s);
    }
}

TEST(Kavrinctl, ImportNamesWhatDoesNotFitAndLeavesItAsItWas)
{
    Prefs::set(u"openaiKey"_s, u"sk"_s);
    const QByteArray json = R"({"openaiKey":5,"openaiModel":"model-5","rowH":1.18e21,"vGap":4})";
    const Outcome outcome = kavrinctl({u"import"_s}, "KAVRINCFG1:" + json.toBase64());
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output, u"2 settings imported.\n");
    EXPECT_EQ(
        outcome.errors,
        u"kavrinctl: openaiModel is \"model-5\" now, a model that this version does not know.\n"
        "kavrinctl: What does not fit was left as it was: openaiKey is one line of text, without control "
        "characters. rowH is a number from 36 to 80.\n");
    EXPECT_EQ(Shared::d().string(u"openaiKey"_s), u"sk"_s);
    EXPECT_EQ(Shared::d().object(u"rowH"_s), std::nullopt);
}

TEST(Kavrinctl, ARemarkAboutAnImportIsNoFailure)
{
    const QByteArray json = R"({"openaiModel":"model-5","rowH":60})";
    EXPECT_EQ(kavrinctl({u"import"_s}, "KAVRINCFG1:" + json.toBase64()).exitCode, 0);
}

TEST(Kavrinctl, ImportRefusesWhatIsNoBlob)
{
    for (const QByteArray &input :
         {QByteArray("nonsense"), QByteArray(), QByteArray("KAVRINCFG1:\xff\xfe")}) {
        const Outcome outcome = kavrinctl({u"import"_s}, input);
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_FALSE(outcome.errors.isEmpty());
    }
    EXPECT_EQ(Shared::d().dictionaryRepresentation().value, PropertyListDictionary());
}

TEST(Kavrinctl, ExportThatIsImpossibleSaysWhy)
{
    test::put(Shared::d(), u"rowH"_s, Date{5});
    const Outcome outcome = kavrinctl({u"export"_s});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output, u"");
    EXPECT_TRUE(outcome.errors.contains(u"a date or data"));
}

TEST(Kavrinctl, ResetRestoresOneSettingOrAllButTheTexts)
{
    Prefs::set(u"rowH"_s, 60.0);
    Prefs::set(u"vGap"_s, 5.0);
    Prefs::set(u"openaiKey"_s, u"sk"_s);
    EXPECT_EQ(kavrinctl({u"reset"_s, u"rowH"_s}).exitCode, 0);
    EXPECT_EQ(kavrinctl({u"get"_s, u"rowH"_s}).output, u"54\n");
    EXPECT_EQ(kavrinctl({u"get"_s, u"vGap"_s}).output, u"5\n");
    EXPECT_EQ(kavrinctl({u"reset"_s}).exitCode, 0);
    EXPECT_EQ(kavrinctl({u"get"_s, u"vGap"_s}).output, u"11\n");
    EXPECT_EQ(kavrinctl({u"get"_s, u"openaiKey"_s}).output, u"sk\n");
}

TEST(Kavrinctl, ResetOfAnUnknownKeyResetsNothing)
{
    Prefs::set(u"rowH"_s, 60.0);
    EXPECT_EQ(kavrinctl({u"reset"_s, u"rowH"_s, u"unknown"_s}).exitCode, 1);
    EXPECT_EQ(kavrinctl({u"get"_s, u"rowH"_s}).output, u"60\n");
}

TEST(Kavrinctl, WhatCannotBePrintedIsSaid)
{
    QProcess process;
    process.setStandardOutputFile(u"/dev/full"_s);
    process.start(programPath("kavrinctl"), {u"export"_s});
    ASSERT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_TRUE(process.readAllStandardError().contains("Standard output could not be written"));
}

TEST(Kavrinctl, TranscribeNamesTheDomainAndTheDescriptionOfAFailure)
{
    Prefs::set(u"provider"_s, u"custom"_s);
    const Outcome badEndpoint = kavrinctl({u"transcribe"_s, shortRecording().path});
    EXPECT_EQ(badEndpoint.exitCode, 1);
    EXPECT_EQ(badEndpoint.errors, u"kavrinctl: cfg: Bad endpoint URL\n");

    const Outcome noFile = kavrinctl({u"transcribe"_s, u"/nonexistent/file.m4a"_s});
    EXPECT_EQ(noFile.exitCode, 1);
    EXPECT_TRUE(noFile.errors.startsWith(u"kavrinctl: file: "));
    EXPECT_TRUE(noFile.errors.contains(u"/nonexistent/file.m4a"));
}

TEST(Kavrinctl, TranscribeSendsNothingThatIsNoSound)
{
    ScriptedServer service;
    Prefs::set(u"provider"_s, u"custom"_s);
    Prefs::set(u"customURL"_s, service.url(u"/"_s).toString());
    for (const QString &path :
         {u"/etc/passwd"_s, u"/dev/null"_s, Shared::d().path(), programPath("kavrinctl")}) {
        SCOPED_TRACE(path.toStdString());
        const Outcome outcome = kavrinctl({u"transcribe"_s, path});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_TRUE(outcome.errors.startsWith(u"kavrinctl: audio: The file is "))
            << outcome.errors.toStdString();
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(service.connections(), 0);
}
