// SPDX-License-Identifier: MIT
#include "screens/SearchModel.h"
#include "store/BrokenSuite.h"
#include "store/Prefs.h"
#include "store/Shared.h"
#include "support/Paths.h"
#include "support/StoredValues.h"
#include "support/Suite.h"
#include "tools/kavrinctl/Kavrinctl.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

namespace
{

/// The catalogue as kavrinctl prints it, without what depends on the settings as they stand.
QJsonArray withoutVisibility(const QJsonArray &pages)
{
    QByteArray text = QJsonDocument(pages).toJson(QJsonDocument::Compact);
    text.replace(",\"visible\":true", "").replace(",\"visible\":false", "");
    return QJsonDocument::fromJson(text).array();
}

} // namespace

TEST(Kavrinctl, TheCatalogueAsJsonIsWhole)
{
    QFile expected(sourcePath("tests/catalogue/catalogue.json"));
    ASSERT_TRUE(expected.open(QIODevice::ReadOnly));
    EXPECT_EQ(withoutVisibility(kavrinctlJson({u"catalogue"_s, u"--json"_s}).array()),
              QJsonDocument::fromJson(expected.readAll()).array());
}

TEST(Kavrinctl, TheCatalogueAsTextNeverShowsASecret)
{
    Prefs::set(u"openaiKey"_s, u"sk-secret"_s);
    const Outcome outcome = kavrinctl({u"catalogue"_s});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_FALSE(outcome.output.contains(u"sk-secret"));
    EXPECT_TRUE(outcome.output.contains(u"Key height"));
}

TEST(Kavrinctl, FindsSettingsByOneWordOrSeveralTheBestFirst)
{
    const std::pair<QStringList, QString> rows[] = {
        {{u"height"_s}, u"rowH "_s},          {{u"number"_s, u"row"_s}, u"numberRow "_s},
        {{u"number row"_s}, u"numberRow "_s}, {{u"vibratoin"_s}, u"keyHaptic "_s},
        {{u"turkce"_s}, u"langExtra_tr "_s},  {{u"gestures"_s}, u"Gestures\n"_s},
    };
    for (const auto &[words, expected] : rows) {
        const Outcome outcome = kavrinctl(QStringList{u"catalogue"_s, u"--find"_s} + words);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_TRUE(outcome.output.startsWith(expected)) << qPrintable(outcome.output);
    }
}

TEST(Kavrinctl, ShowsWhatItFindsWithItsValueAndItsPage)
{
    Prefs::set(u"rowH"_s, 60.0);
    EXPECT_EQ(kavrinctl({u"catalogue"_s, u"--find"_s, u"key height"_s}).output.section(u'\n', 0, 0),
              u"rowH               60 pt                    Key height (Layout › Size & position)");
}

namespace
{

QStringList foundByKavrinctl(const QString &words)
{
    return kavrinctl({u"catalogue"_s, u"--find"_s, words}).output.split(u'\n', Qt::SkipEmptyParts);
}

QVariantList foundByTheWindow(const QString &words)
{
    SearchModel search;
    search.setText(words);
    return search.results();
}

/// Whether a line of kavrinctl tells a result of the window.
bool tells(const QString &line, const QVariant &result)
{
    const auto text = [&](const QString &name) { return result.toMap().value(name).toString(); };
    const QString end = u" %1 (%2)"_s.arg(text(u"title"_s), text(u"where"_s));
    return text(u"key"_s).isEmpty() ? line == text(u"title"_s)
                                    : line.startsWith(text(u"key"_s) + u' ') && line.endsWith(end);
}

} // namespace

TEST(Kavrinctl, FindsWhatTheWindowFinds)
{
    for (const QString &provider : {u"openai"_s, u"custom"_s}) {
        Prefs::set(u"provider"_s, provider);
        for (const QString &words : {u"height"_s, u"gestures"_s, u"vibratoin"_s, u"iOS"_s, u"plain"_s,
                                     u"endpoint"_s, u"snippets"_s}) {
            const QStringList lines = foundByKavrinctl(words);
            EXPECT_TRUE(std::ranges::equal(lines, foundByTheWindow(words), tells))
                << qPrintable(words) << " finds " << qPrintable(lines.join(u'\n'));
        }
    }
}

TEST(Kavrinctl, FindsWhatAPersonSees)
{
    EXPECT_EQ(foundByKavrinctl(u"iOS"_s).filter(u"bottom row"_s), QStringList());
    EXPECT_EQ(foundByKavrinctl(u"plain"_s).filter(u"Plain bottom row"_s).size(), 1);
    EXPECT_EQ(foundByKavrinctl(u"endpoint"_s), QStringList());
    EXPECT_EQ(foundByKavrinctl(u"snippets"_s), QStringList{u"Personal dictionary & shortcuts"_s});
}

TEST(Kavrinctl, SaysThatItFindsNothing)
{
    const Outcome outcome = kavrinctl({u"catalogue"_s, u"--find"_s, u"xylophone"_s});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output, QString());
    EXPECT_EQ(outcome.errors, u"kavrinctl: Nothing was found for \"xylophone\".\n");
}

TEST(Kavrinctl, TheCatalogueIsPrintedWhateverTheSuiteHolds)
{
    const QStringList keys = Prefs::items().keys();
    for (const PropertyListValue &value : storedValues()) {
        Changes changes;
        std::ranges::transform(keys, std::back_inserter(changes),
                               [&](const QString &key) { return Change{key, value}; });
        ASSERT_EQ(test::failureOf(Shared::d().write(changes)), u"");
        for (const QStringList &verb : {QStringList{u"catalogue"_s},
                                        {u"catalogue"_s, u"--json"_s},
                                        {u"get"_s, u"rowH"_s},
                                        {u"defaults"_s, u"read"_s},
                                        {u"tools"_s}}) {
            EXPECT_EQ(kavrinctl(verb).exitCode, 0)
                << qPrintable(verb.join(u' ')) << " with " << value.index();
        }
    }
}

TEST(Kavrinctl, TheCatalogueShowsAHugeNumberInScientificForm)
{
    test::put(Shared::d(), u"rowH"_s, 1e20);
    EXPECT_TRUE(kavrinctl({u"catalogue"_s}).output.contains(u"1e+20 pt"));
}

TEST(Kavrinctl, GetPrintsTheDefaultOfASettingThatWasNeverSet)
{
    const std::pair<QString, QString> rows[] = {
        {u"numpadAuto"_s, u"true\n"_s},       {u"rowH"_s, u"54\n"_s},
        {u"capDark"_s, u"0.2\n"_s},           {u"provider"_s, u"openai\n"_s},
        {u"customModel"_s, u"whisper-1\n"_s}, {u"openaiKey"_s, u"\n"_s},
    };
    for (const auto &[key, expected] : rows) {
        const Outcome outcome = kavrinctl({u"get"_s, key});
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.output, expected);
    }
}

TEST(Kavrinctl, GetPrintsJsonWhereAsked)
{
    EXPECT_EQ(kavrinctl({u"get"_s, u"numpadAuto"_s, u"--json"_s}).output, u"true\n");
    EXPECT_EQ(kavrinctl({u"get"_s, u"rowH"_s, u"--json"_s}).output, u"54\n");
    EXPECT_EQ(kavrinctl({u"get"_s, u"provider"_s, u"--json"_s}).output, u"\"openai\"\n");
}

TEST(Kavrinctl, SetStoresWhatAControlCouldEnterAndStampsTheRevision)
{
    struct Row {
        QString key;
        QString value;
        PropertyListValue stored;
    };
    const Row rows[] = {
        {u"numberRow"_s, u"true"_s, true},
        {u"numpadAuto"_s, u"off"_s, false},
        {u"numberRow"_s, u"on"_s, true},
        {u"numberRow"_s, u"no"_s, false},
        {u"numberRow"_s, u"yes"_s, true},
        {u"numberRow"_s, u"False"_s, false},
        {u"numberRow"_s, u"ON"_s, true},
        {u"rowH"_s, u"36"_s, 36.0},
        {u"rowH"_s, u"80"_s, 80.0},
        {u"touchY"_s, u"-12"_s, -12.0},
        {u"fnDim"_s, u"0.45"_s, 0.45},
        {u"capDark"_s, u"0.29"_s, 0.29},
        {u"clipboardMinutes"_s, u"1440"_s, 1440.0},
        {u"provider"_s, u"custom"_s, u"custom"_s},
        {u"customURL"_s, u"http://localhost:8000/v1/audio/transcriptions"_s,
         u"http://localhost:8000/v1/audio/transcriptions"_s},
        {u"openaiKey"_s, u"--odd key ş"_s, u"--odd key ş"_s},
        {u"openaiKey"_s, u" \tsk 1\r\n"_s, u"sk 1"_s},
        {u"openaiKey"_s, u""_s, u""_s},
        {u"customURL"_s, u" http://localhost "_s, u" http://localhost "_s},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.key.toStdString() + " " + row.value.toStdString());
        test::drop(Shared::d(), u"settingsRevision"_s);
        EXPECT_EQ(kavrinctl({u"set"_s, row.key, row.value}).exitCode, 0);
        EXPECT_EQ(Shared::d().object(row.key), row.stored);
        EXPECT_TRUE(Shared::d().object(u"settingsRevision"_s).has_value());
    }
}

TEST(Kavrinctl, SetReadsTheValueFromStandardInputWhereItIsADash)
{
    struct Row {
        QString key;
        QByteArray input;
        PropertyListValue stored;
    };
    const Row rows[] = {
        {u"openaiKey"_s, "sk-1", u"sk-1"_s},
        {u"openaiKey"_s, "sk-2\n", u"sk-2"_s},
        {u"openaiKey"_s, "sk-3\r\n", u"sk-3"_s},
        {u"openaiKey"_s, "şifre -\n", u"şifre -"_s},
        {u"rowH"_s, "60\n", 60.0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.input.toStdString());
        EXPECT_EQ(kavrinctl({u"set"_s, row.key, u"-"_s}, row.input).exitCode, 0);
        EXPECT_EQ(Shared::d().object(row.key), row.stored);
    }
}

TEST(Kavrinctl, SetKeepsTheValueWhereStandardInputHoldsNone)
{
    Prefs::set(u"openaiKey"_s, u"sk"_s);
    for (const QByteArray &input :
         {QByteArray(), QByteArray("\n"), QByteArray("\r\n"), QByteArray("a\nb\n"), QByteArray("a\xff")}) {
        SCOPED_TRACE(input.toStdString());
        const Outcome outcome = kavrinctl({u"set"_s, u"openaiKey"_s, u"-"_s}, input);
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_FALSE(outcome.errors.isEmpty());
        EXPECT_EQ(Shared::d().string(u"openaiKey"_s), u"sk"_s);
    }
}

TEST(Kavrinctl, SetRefusesAnArgumentThatIsNotUtf8)
{
    Prefs::set(u"openaiKey"_s, u"sk"_s);
    const QString command = u"exec \"$0\" set openaiKey \"$(printf 'abc\\377')\""_s; // QProcess passes UTF-8
    QProcess process;
    process.start(u"/bin/sh"_s, {u"-c"_s, command, programPath("kavrinctl")});
    ASSERT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_EQ(process.readAllStandardError(), "kavrinctl: An argument is not UTF-8 text.\n");
    EXPECT_EQ(Shared::d().string(u"openaiKey"_s), u"sk"_s);
}

TEST(Kavrinctl, SetTakesALongKeyFromStandardInputAndRefusesALongerOne)
{
    const QByteArray longest(16'384, 'x');
    EXPECT_EQ(kavrinctl({u"set"_s, u"openaiKey"_s, u"-"_s}, longest).exitCode, 0);
    EXPECT_EQ(Shared::d().string(u"openaiKey"_s), QString::fromLatin1(longest));
    for (const qsizetype length : {16'385, 10'000'000}) {
        const Outcome outcome = kavrinctl({u"set"_s, u"openaiKey"_s, u"-"_s}, QByteArray(length, 'y'));
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(outcome.errors,
                  u"kavrinctl: Standard input has more than 16384 bytes, the most that is taken.\n");
    }
    EXPECT_EQ(Shared::d().string(u"openaiKey"_s), QString::fromLatin1(longest));
}

TEST(Kavrinctl, SetRefusesWhatNoControlCouldEnterAndWritesNothing)
{
    const std::pair<QString, QString> rows[] = {
        {u"numberRow"_s, u"maybe"_s}, {u"numberRow"_s, u""_s},
        {u"rowH"_s, u"35"_s},         {u"rowH"_s, u"81"_s},
        {u"rowH"_s, u"54.5"_s},       {u"rowH"_s, u"tall"_s},
        {u"rowH"_s, u"nan"_s},        {u"rowH"_s, u"inf"_s},
        {u"rowH"_s, u" 54"_s},        {u"rowH"_s, u"54,0"_s},
        {u"provider"_s, u"OpenAI"_s}, {u"provider"_s, u""_s},
        {u"openaiKey"_s, u"a\nb"_s},  {u"customURL"_s, u"http://localhost\n"_s},
        {u"act.resize"_s, u"true"_s}, {u"unknown"_s, u"1"_s},
        {u"toolOrder"_s, u"gif"_s},   {u"dictationCommand"_s, u"start"_s},
    };
    for (const auto &[key, value] : rows) {
        SCOPED_TRACE(key.toStdString() + " " + value.toStdString());
        const Outcome outcome = kavrinctl({u"set"_s, key, value});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_TRUE(outcome.errors.contains(key));
        EXPECT_EQ(Shared::d().dictionaryRepresentation().value, PropertyListDictionary());
    }
}

TEST(Kavrinctl, SettingsThatCannotBeReadAreNotPrintedAsTheirDefaults)
{
    Prefs::set(u"rowH"_s, 60.0);
    // Neither the shared suite nor the private defaults can be read.
    const BrokenSuite broken;
    QFile blocker(qEnvironmentVariable("XDG_DATA_HOME") + u"/app.kavrin.Kavrin"_s);
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    for (const QStringList &arguments :
         {QStringList{u"get"_s, u"rowH"_s}, QStringList{u"get"_s, u"rowH"_s, u"--json"_s},
          QStringList{u"catalogue"_s}, QStringList{u"tools"_s}, QStringList{u"export"_s}}) {
        SCOPED_TRACE(arguments.join(u' ').toStdString());
        const Outcome outcome = kavrinctl(arguments);
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(outcome.output, u"");
        EXPECT_TRUE(outcome.errors.contains(u"The settings could not be read"));
    }
}

TEST(Kavrinctl, GetOfAnUnknownKeyOrAnActionSaysSo)
{
    for (const QString &key : {u"unknown"_s, u"act.resize"_s, u"settingsRevision"_s}) {
        const Outcome outcome = kavrinctl({u"get"_s, key});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(outcome.output, u"");
        EXPECT_TRUE(outcome.errors.contains(key));
    }
}

TEST(Kavrinctl, DefaultsWritesEveryTypeAndReadsItBack)
{
    struct Row {
        QString flag;
        QString text;
        PropertyListValue stored;
        QString read;
        QString type;
    };
    const Row rows[] = {
        {u"--bool"_s, u"true"_s, true, u"true"_s, u"bool"_s},
        {u"--int"_s, u"-5"_s, qint64(-5), u"-5"_s, u"int"_s},
        {u"--int"_s, u"9223372036854775807"_s, std::numeric_limits<qint64>::max(), u"9223372036854775807"_s,
         u"int"_s},
        {u"--double"_s, u"-1.5e3"_s, -1500.0, u"-1500"_s, u"double"_s},
        {u"--double"_s, u"0.1"_s, 0.1, u"0.1"_s, u"double"_s},
        {u"--string"_s, u"--bool \"ş\""_s, u"--bool \"ş\""_s, u"\"--bool \\\"ş\\\"\""_s, u"string"_s},
        {u"--string"_s, u""_s, u""_s, u"\"\""_s, u"string"_s},
        {u"--date"_s, u"2026-11-21T09:30:00Z"_s, Date{1795253400}, u"\"2026-11-21T09:30:00.000Z\""_s,
         u"date"_s},
        {u"--date"_s, u"2026-11-21T10:30:00.250+01:00"_s, Date{1795253400.25},
         u"\"2026-11-21T09:30:00.250Z\""_s, u"date"_s},
        {u"--date"_s, u"2026-11-21T09:30:00"_s, Date{1795253400}, u"\"2026-11-21T09:30:00.000Z\""_s,
         u"date"_s},
        {u"--data"_s, u"AP8B"_s, QByteArray("\0\xff\x01", 3), u"\"AP8B\""_s, u"data"_s},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text.toStdString());
        EXPECT_EQ(kavrinctl({u"defaults"_s, u"write"_s, u"key"_s, row.flag, row.text}).exitCode, 0);
        EXPECT_EQ(Shared::d().object(u"key"_s), row.stored);
        EXPECT_EQ(kavrinctl({u"defaults"_s, u"read"_s, u"key"_s}).output, row.read + u'\n');
        EXPECT_EQ(kavrinctl({u"defaults"_s, u"read"_s, u"key"_s, u"--types"_s}).output,
                  u"{\"type\":\"%1\",\"value\":%2}\n"_s.arg(row.type, row.read));
    }
}

TEST(Kavrinctl, DefaultsRefusesAValueThatIsNotOfItsTypeAndWritesNothing)
{
    const std::pair<QString, QString> rows[] = {
        {u"--bool"_s, u"1"_s},       {u"--int"_s, u"1.5"_s},
        {u"--int"_s, u" 1"_s},       {u"--int"_s, u"9223372036854775808"_s},
        {u"--double"_s, u"nan"_s},   {u"--double"_s, u"inf"_s},
        {u"--double"_s, u"1e999"_s}, {u"--double"_s, u" 1"_s},
        {u"--double"_s, u"1,5"_s},   {u"--double"_s, u""_s},
        {u"--double"_s, u"0x1p3"_s}, {u"--date"_s, u"today"_s},
        {u"--data"_s, u"A*"_s},
    };
    for (const auto &[flag, text] : rows) {
        SCOPED_TRACE(flag.toStdString() + " " + text.toStdString());
        const Outcome outcome = kavrinctl({u"defaults"_s, u"write"_s, u"key"_s, flag, text});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_FALSE(outcome.errors.isEmpty());
        EXPECT_EQ(Shared::d().object(u"key"_s), std::nullopt);
    }
}

TEST(Kavrinctl, DefaultsReadsAllKeysAsAnObject)
{
    test::put(Shared::d(), u"a"_s, true);
    test::put(Shared::d(), u"b"_s, PropertyListArray{qint64(1), Date{0}});
    EXPECT_EQ(kavrinctl({u"defaults"_s, u"read"_s}).output,
              u"{\"a\":true,\"b\":[1,\"1970-01-01T00:00:00.000Z\"]}\n");
    EXPECT_EQ(kavrinctlJson({u"defaults"_s, u"read"_s, u"--types"_s})
                  .object()
                  .value(u"b")
                  .toObject()
                  .value(u"type"),
              QJsonValue(u"array"_s));
}

TEST(Kavrinctl, DefaultsReadOfAKeyThatIsNotThereSaysSo)
{
    const Outcome outcome = kavrinctl({u"defaults"_s, u"read"_s, u"nothing"_s});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output, u"");
    EXPECT_TRUE(outcome.errors.contains(u"nothing"));
}

TEST(Kavrinctl, DefaultsDeleteTakesAKeyAway)
{
    test::put(Shared::d(), u"key"_s, true);
    EXPECT_EQ(kavrinctl({u"defaults"_s, u"delete"_s, u"key"_s}).exitCode, 0);
    EXPECT_EQ(Shared::d().object(u"key"_s), std::nullopt);
}

TEST(Kavrinctl, ToolsShowsTheCompletedOrderAndTheHidden)
{
    test::put(Shared::d(), u"toolOrder"_s, u"gif,foo,emoji,gif"_s);
    test::put(Shared::d(), u"toolHidden"_s, u"settings,emoji"_s);
    EXPECT_EQ(kavrinctl({u"tools"_s, u"--json"_s}).output,
              u"{\"hidden\":[\"emoji\"],\"order\":[\"gif\",\"emoji\",\"gif\",\"settings\",\"clipboard\","
              u"\"sticker\","
              "\"translate\",\"search\",\"youtube\",\"contacts\",\"language\"]}\n");
    EXPECT_TRUE(kavrinctl({u"tools"_s}).output.startsWith(u"gif\nemoji (hidden)\ngif\nsettings\n"));
}

TEST(Kavrinctl, ToolsSetStoresBothLists)
{
    EXPECT_EQ(kavrinctl({u"tools"_s, u"set"_s, u"gif,emoji"_s, u"youtube,emoji"_s}).exitCode, 0);
    EXPECT_EQ(Shared::d().string(u"toolOrder"_s), u"gif,emoji"_s);
    EXPECT_EQ(Shared::d().string(u"toolHidden"_s), u"emoji,youtube"_s);
    EXPECT_EQ(kavrinctl({u"tools"_s, u"set"_s, u""_s, u""_s}).exitCode, 0);
    EXPECT_EQ(Shared::d().string(u"toolOrder"_s), u""_s);
}

TEST(Kavrinctl, ToolsSetRefusesWhatTheToolbarEditorCouldNotMake)
{
    const std::pair<QString, QString> rows[] = {
        {u"gif,foo"_s, u""_s}, {u"gif,gif"_s, u""_s}, {u"gif"_s, u"settings"_s}, {u"gif"_s, u"foo"_s}};
    for (const auto &[order, hidden] : rows) {
        EXPECT_EQ(kavrinctl({u"tools"_s, u"set"_s, order, hidden}).exitCode, 1);
        EXPECT_EQ(Shared::d().dictionaryRepresentation().value, PropertyListDictionary());
    }
}

TEST(Kavrinctl, WhereTellsTheSuiteAndTheRecording)
{
    const QJsonObject where = kavrinctlJson({u"where"_s, u"--json"_s}).object();
    EXPECT_EQ(where.value(u"group").toString(), u"group.app.kavrin.shared");
    EXPECT_TRUE(where.value(u"shared").toBool());
    EXPECT_EQ(where.value(u"suite").toString(), Shared::d().path());
    EXPECT_EQ(where.value(u"recording").toString(),
              qEnvironmentVariable("XDG_RUNTIME_DIR") + u"/kavrin/dict.m4a"_s);
}

TEST(Kavrinctl, ARelativeDataFolderIsIgnored)
{
    qputenv("XDG_DATA_HOME", "relative");
    EXPECT_EQ(kavrinctlJson({u"where"_s, u"--json"_s}).object().value(u"suite").toString(),
              qEnvironmentVariable("HOME")
                  + u"/.local/share/app-groups/group.app.kavrin.shared/defaults.sqlite"_s);
}

TEST(Kavrinctl, ARelativeRuntimeFolderIsIgnored)
{
    const QTemporaryDir folder;
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(QDir().relativeFilePath(folder.path())));
    const QString recording =
        kavrinctlJson({u"where"_s, u"--json"_s}).object().value(u"recording").toString();
    EXPECT_TRUE(recording.startsWith(u'/'));
    EXPECT_FALSE(recording.contains(folder.path())) << recording.toStdString();
}

TEST(Kavrinctl, ASuiteThatCannotBeWrittenIsSaid)
{
    const QString folder = Shared::d().path().section(u'/', 0, -2);
    ASSERT_TRUE(QFile::exists(folder));
    test::put(Shared::d(), u"rowH"_s, 60.0);
    // A format of tomorrow may be neither written nor read.
    QProcess sqlite;
    sqlite.start(u"python3"_s,
                 {u"-c"_s,
                  u"import sqlite3, sys; sqlite3.connect(sys.argv[1]).execute('PRAGMA user_version = 9')"_s,
                  Shared::d().path()});
    sqlite.waitForFinished();
    QFile blocker(qEnvironmentVariable("XDG_DATA_HOME") + u"/app.kavrin.Kavrin"_s);
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    const Outcome outcome = kavrinctl({u"set"_s, u"rowH"_s, u"40"_s});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(outcome.errors.contains(u"could not be stored"));
}
