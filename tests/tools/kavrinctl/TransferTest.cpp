// SPDX-License-Identifier: MIT
#include "platform/PropertyList.h"
#include "store/Prefs.h"
#include "store/Shared.h"
#include "support/Paths.h"
#include "support/Recordings.h"
#include "support/RefusedKey.h"
#include "support/ScriptedServer.h"
#include "support/Suite.h"
#include "support/Wait.h"
#include "tools/kavrinctl/Kavrinctl.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

namespace
{

/// The files beside the suite that hold what settings were before a reset.
QStringList keptStates()
{
    const QFileInfo suite(Shared::d().path());
    QStringList paths;
    for (const QFileInfo &file : suite.dir().entryInfoList({u"*.before-reset-*"_s})) {
        paths.append(file.filePath());
    }
    return paths;
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

} // namespace

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
         {QByteArray("nonsense"), QByteArray(), QByteArray("KAVRINCFG1:\xff\xfe"),
          QByteArray("KAVRINSTATE1:"), QByteArray("KAVRINSTATE1:e30="), QByteArray("KAVRINSTATE1:*")}) {
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
    EXPECT_EQ(kavrinctl({u"reset"_s, u"--all"_s}).exitCode, 0);
    EXPECT_EQ(kavrinctl({u"get"_s, u"vGap"_s}).output, u"11\n");
    EXPECT_EQ(kavrinctl({u"get"_s, u"openaiKey"_s}).output, u"sk\n");
}

TEST(Kavrinctl, ResetOfAllKeepsWhatWasInAFileOfTheUsersAlone)
{
    Prefs::set(u"openaiKey"_s, u"sk"_s);
    const mode_t before = umask(0);
    const Outcome outcome = kavrinctl({u"reset"_s, u"--all"_s});
    umask(before);
    const QStringList kept = keptStates();
    ASSERT_EQ(kept.size(), 1);
    EXPECT_EQ(QFile::permissions(kept.first()) & ~(QFile::ReadUser | QFile::WriteUser),
              QFile::ReadOwner | QFile::WriteOwner);
    EXPECT_TRUE(outcome.output.contains(kept.first()));
    EXPECT_FALSE(QByteArray::fromBase64(contentOf(kept.first()).mid(13)).contains("sk"));
}

TEST(Kavrinctl, ImportPutsBackValuesTypesAndWhatWasAbsentBeforeAResetOfAll)
{
    const PropertyListDictionary before = {
        {u"rowH"_s, qint64(60)},
        {u"capDark"_s, 0.1},
        {u"numberRow"_s, true},
        {u"hints"_s, u"all"_s},
        {u"provider"_s, u"zzz"_s},
        {u"vGap"_s, u"text"_s},
        {u"hGap"_s, -1.18e21},
        {u"glide"_s, Date{5.25}},
        {u"trail"_s, QByteArray("\0x", 2)},
        {u"popup"_s, PropertyListArray{qint64(-5), u"ş"_s}},
        {u"openaiModel"_s, u"model-5"_s},
    };
    for (const auto &[key, value] : before) {
        test::put(Shared::d(), key, value);
    }
    EXPECT_EQ(kavrinctl({u"reset"_s, u"--all"_s}).exitCode, 0);
    EXPECT_EQ(kavrinctl({u"set"_s, u"radius"_s, u"20"_s}).exitCode, 0); // was absent
    test::put(Shared::d(), u"openaiKey"_s, u"sk-new"_s); // is not part of it
    const Outcome outcome = kavrinctl({u"import"_s}, contentOf(keptStates().first()));
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_TRUE(outcome.errors.contains(u"hGap is a number from 0 to 16, but was not, and is as it was."));
    EXPECT_FALSE(outcome.errors.contains(u"openaiModel"));
    PropertyListDictionary after = Shared::d().dictionaryRepresentation().value;
    after.erase(u"settingsRevision"_s);
    EXPECT_EQ(after.extract(u"openaiKey"_s).mapped(), PropertyListValue(u"sk-new"_s));
    EXPECT_EQ(after, before);
}

TEST(Kavrinctl, ResetOfAllThatFailsLeavesNoFileAndEverySetting)
{
    Prefs::set(u"rowH"_s, 60.0);
    const RefusedKey refused("settingsRevision");
    EXPECT_EQ(kavrinctl({u"reset"_s, u"--all"_s}).exitCode, 1);
    EXPECT_EQ(keptStates(), QStringList());
    EXPECT_EQ(kavrinctl({u"get"_s, u"rowH"_s}).output, u"60\n");
}

TEST(Kavrinctl, ImportOfAStateTouchesNothingButWhatAResetOfAllDoes)
{
    const PropertyListDictionary state = {
        {u"stored"_s,
         PropertyListDictionary{{u"customURL"_s, u"http://x"_s}, {u"dictationCommand"_s, u"start"_s}}},
        {u"absent"_s, PropertyListArray{u"openaiKey"_s, u"tStamp"_s, true}},
    };
    test::put(Shared::d(), u"openaiKey"_s, u"sk"_s);
    const Outcome outcome =
        kavrinctl({u"import"_s}, "KAVRINSTATE1:" + PropertyList::toBinary(state).toBase64());
    EXPECT_EQ(outcome.output, u"0 settings imported.\n");
    PropertyListDictionary after = Shared::d().dictionaryRepresentation().value;
    after.erase(u"settingsRevision"_s);
    EXPECT_EQ(after, (PropertyListDictionary{{u"openaiKey"_s, u"sk"_s}}));
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

TEST(Kavrinctl, TranscribePrintsNoControlCharacterOfAService)
{
    ScriptedServer service;
    service.add(answer("400 Bad Request", u"[\"no\u009b31m \u202eyek\"]"_s.toUtf8()));
    Prefs::set(u"provider"_s, u"custom"_s);
    Prefs::set(u"customURL"_s, service.url(u"/"_s).toString());
    QProcess process;
    process.start(programPath("kavrinctl"), {u"transcribe"_s, shortRecording().path});
    ASSERT_TRUE(waitUntil([&] { return process.state() == QProcess::NotRunning; }));
    EXPECT_EQ(process.readAllStandardError(), "kavrinctl: stt: [\"no 31m  yek\"]\n");
}

TEST(Kavrinctl, TranscribeRefusesWhatDoesNotEndOrIsTooLarge)
{
    const QTemporaryDir folder;
    const QString pipe = folder.filePath(u"pipe"_s);
    ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QFile silent(pipe);
    ASSERT_TRUE(silent.open(QIODevice::ReadWrite | QIODevice::Unbuffered)); // as one who writes nothing
    QFile large(folder.filePath(u"large"_s));
    ASSERT_TRUE(large.open(QIODevice::WriteOnly) && large.resize(100'000'001));
    const std::pair<QString, QString> rows[] = {
        {large.fileName(), u" is larger than 100 MB, so it is no recording to send.\n"_s},
        {pipe, u" has not ended after five seconds. Save it to a file first.\n"_s},
        {u"/dev/zero"_s, u"\n"_s}, // either, as the machine's speed will have it
    };
    for (const auto &[path, reason] : rows) {
        const Outcome outcome = kavrinctl({u"transcribe"_s, path});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_TRUE(outcome.errors.startsWith(u"kavrinctl: file: "_s + path)
                    && outcome.errors.endsWith(reason))
            << outcome.errors.toStdString();
    }
}

TEST(Kavrinctl, TranscribeTakesAPipeThatEnds)
{
    Prefs::set(u"provider"_s, u"custom"_s);
    QProcess shell;
    shell.start(u"bash"_s,
                {u"-c"_s, u"exec \"$0\" transcribe <(cat \"$1\")"_s, programPath("kavrinctl"),
                 shortRecording().path});
    ASSERT_TRUE(shell.waitForFinished());
    EXPECT_EQ(shell.readAllStandardError(), "kavrinctl: cfg: Bad endpoint URL\n");
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
