// SPDX-License-Identifier: MIT
#include "platform/UserDefaults.h"
#include "platform/FileManager.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <gmock/gmock.h>
#include <sqlite3.h>

#include <atomic>
#include <limits>
#include <thread>
#include <vector>

using namespace kavrin;
using namespace Qt::StringLiterals;

namespace
{

std::unique_ptr<UserDefaults> makeSuite()
{
    return UserDefaults::suite(u"group.app.kavrin.shared"_s);
}

/// The database and what SQLite keeps beside it.
void removeFiles(const QString &path)
{
    for (const QString &suffix : {u""_s, u"-wal"_s, u"-shm"_s}) {
        QFile::remove(path + suffix);
    }
}

/// Another process's hands on the same file.
class Sqlite
{
public:
    explicit Sqlite(const QString &path) { sqlite3_open(path.toUtf8().constData(), &m_handle); }
    ~Sqlite() { sqlite3_close(m_handle); }
    Q_DISABLE_COPY_MOVE(Sqlite)

    bool run(const char *sql) { return sqlite3_exec(m_handle, sql, nullptr, nullptr, nullptr) == SQLITE_OK; }

    QString text(const char *sql)
    {
        sqlite3_stmt *statement = nullptr;
        sqlite3_prepare_v2(m_handle, sql, -1, &statement, nullptr);
        sqlite3_step(statement);
        QString result = QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(statement, 0)));
        sqlite3_finalize(statement);
        return result;
    }

private:
    sqlite3 *m_handle = nullptr;
};

} // namespace

TEST(UserDefaults, EveryTypeReadsBackAsItWasWritten)
{
    const PropertyListValue values[] = {
        true,
        false,
        qint64(0),
        std::numeric_limits<qint64>::min(),
        std::numeric_limits<qint64>::max(),
        0.1,
        -1e300,
        1.0,
        u""_s,
        u"doğrulama\n„Zitat“ 👍🏽"_s,
        QString(u"a\0b"_s),
        Date{1766310000.123},
        QByteArray("\0\xff\x01", 3),
        QByteArray(),
        PropertyListArray{true, qint64(7), u"x"_s, PropertyListArray{}},
        PropertyListDictionary{{u"k"_s, 2.5}, {u"d"_s, PropertyListDictionary{}}},
    };
    const auto suite = makeSuite();
    for (size_t index = 0; index < std::size(values); ++index) {
        SCOPED_TRACE(index);
        EXPECT_TRUE(suite->set(u"key"_s, values[index]));
        EXPECT_EQ(makeSuite()->object(u"key"_s), values[index]);
    }
}

TEST(UserDefaults, AKeyThatWasNeverWrittenHasNoValue)
{
    EXPECT_EQ(makeSuite()->object(u"never"_s), std::nullopt);
}

TEST(UserDefaults, RemovingAKeyTakesItsValueAway)
{
    const auto suite = makeSuite();
    suite->set(u"key"_s, u"value"_s);
    EXPECT_TRUE(suite->remove(u"key"_s));
    EXPECT_EQ(suite->object(u"key"_s), std::nullopt);
    EXPECT_TRUE(suite->remove(u"key"_s));
}

TEST(UserDefaults, AStringIsReplacedOnlyWhereItIsThere)
{
    using Stored = std::optional<PropertyListValue>;
    const struct {
        Stored before;
        bool isReplaced;
        Stored after;
    } cases[] = {
        {u"from"_s, true, u"to"_s}, {u"From"_s, false, u"From"_s},       {u""_s, false, u""_s},
        {true, false, true},        {std::nullopt, false, std::nullopt},
    };
    const auto suite = makeSuite();
    suite->set(u"another"_s, u"from"_s);
    for (const auto &[before, isReplaced, after] : cases) {
        SCOPED_TRACE(before ? before->index() : std::variant_npos);
        suite->remove(u"key"_s);
        if (before) {
            suite->set(u"key"_s, *before);
        }
        EXPECT_EQ(suite->replace(u"key"_s, u"from"_s, u"to"_s), isReplaced);
        EXPECT_TRUE(suite->lastError().isEmpty());
        EXPECT_EQ(suite->object(u"key"_s), after);
    }
    EXPECT_EQ(suite->object(u"another"_s), PropertyListValue(u"from"_s));
}

TEST(UserDefaults, ANumberThatIsNotFiniteIsRefusedAndTheOldValueStays)
{
    const auto suite = makeSuite();
    suite->set(u"key"_s, 1.0);
    for (const double number :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        EXPECT_FALSE(suite->set(u"key"_s, number));
        EXPECT_FALSE(suite->lastError().isEmpty());
        EXPECT_EQ(suite->object(u"key"_s), PropertyListValue(1.0));
    }
}

TEST(UserDefaults, AListThatWouldNotBeFoundAgainIsRefusedAndTheOldValueStays)
{
    const auto suite = makeSuite();
    suite->set(u"key"_s, 1.0);
    PropertyListValue nested = PropertyListArray{};
    for (int depth = 0; depth < 600; ++depth) {
        nested = PropertyListArray{std::move(nested)};
    }
    const PropertyListValue values[] = {nested, PropertyListArray(100'001, true),
                                        PropertyListDictionary{{u"member"_s, nested}}};
    for (const PropertyListValue &value : values) {
        EXPECT_FALSE(suite->set(u"key"_s, value));
        EXPECT_FALSE(suite->lastError().isEmpty());
        EXPECT_EQ(suite->object(u"key"_s), PropertyListValue(1.0));
    }
    EXPECT_TRUE(suite->set(u"key"_s, PropertyListArray(90'000, true)));
    EXPECT_EQ(suite->object(u"key"_s), PropertyListValue(PropertyListArray(90'000, true)));
}

TEST(UserDefaults, TheStringGetterTurnsNumbersIntoStrings)
{
    const std::pair<PropertyListValue, std::optional<QString>> rows[] = {
        {u"text"_s, u"text"_s},
        {qint64(5), u"5"_s},
        {0.5, u"0.5"_s},
        {true, u"1"_s},
        {Date{1}, std::nullopt},
        {QByteArray("text"), std::nullopt},
        {PropertyListArray{}, std::nullopt},
    };
    const auto suite = makeSuite();
    for (const auto &[value, expected] : rows) {
        suite->set(u"key"_s, value);
        EXPECT_EQ(suite->string(u"key"_s), expected);
    }
}

TEST(UserDefaults, TheDictionaryHoldsEveryKey)
{
    const auto suite = makeSuite();
    suite->set(u"a"_s, true);
    suite->set(u"b"_s, u"two"_s);
    EXPECT_EQ(suite->dictionaryRepresentation(),
              (PropertyListDictionary{{u"a"_s, true}, {u"b"_s, u"two"_s}}));
}

TEST(UserDefaults, TheFileIsWhatTheContractSays)
{
    const auto suite = makeSuite();
    suite->set(u"key"_s, 1.5);
    Sqlite file(suite->path());
    EXPECT_EQ(file.text("PRAGMA user_version"), u"1");
    EXPECT_EQ(file.text("PRAGMA journal_mode"), u"wal");
    EXPECT_EQ(file.text("PRAGMA page_size"), u"512");
    EXPECT_EQ(
        file.text("SELECT type || ' ' || typeof(value) || ' ' || value FROM defaults WHERE key = 'key'"),
        u"double real 1.5");
}

TEST(UserDefaults, OnlyTheUserMayReadTheFiles)
{
    const auto suite = makeSuite();
    suite->set(u"openaiKey"_s, u"secret"_s);
    const QFileInfo file(suite->path());
    for (const QFileInfo &entry : file.dir().entryInfoList({file.fileName() + u"*"_s}, QDir::Files)) {
        EXPECT_EQ(entry.permissions()
                      & (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther),
                  0)
            << entry.fileName().toStdString();
    }
}

TEST(UserDefaults, WhatAnotherProcessWritesIsSeenAtOnce)
{
    const auto suite = makeSuite();
    suite->set(u"key"_s, u"old"_s);
    Sqlite file(suite->path());
    ASSERT_TRUE(file.run("UPDATE defaults SET value = 'new' WHERE key = 'key'"));
    EXPECT_EQ(suite->string(u"key"_s), u"new"_s);
}

TEST(UserDefaults, AProcessThatOpensWritesAndClosesTheFileTakesNothingAway)
{
    // The last process to close a database tidies up, so it matters that none takes itself for the last.
    const char *const keyboard = R"(
import sqlite3, sys
database = sqlite3.connect(sys.argv[1], isolation_level=None)
database.execute("UPDATE defaults SET value = ? WHERE key = 'theirs'", (sys.argv[2],))
print(database.execute("SELECT value FROM defaults WHERE key = 'ours'").fetchone()[0])
database.close()
)";
    const auto suite = makeSuite();
    suite->set(u"theirs"_s, u""_s);
    for (int round = 0; round < 10; ++round) {
        const QString number = QString::number(round);
        ASSERT_TRUE(suite->set(u"ours"_s, number));
        QProcess process;
        process.start(u"python3"_s, {u"-c"_s, QString::fromUtf8(keyboard), suite->path(), number});
        ASSERT_TRUE(process.waitForFinished());
        EXPECT_EQ(process.readAllStandardOutput().trimmed(), number.toUtf8());
        EXPECT_EQ(suite->string(u"theirs"_s), number);
    }
    EXPECT_EQ(makeSuite()->string(u"ours"_s), u"9"_s);
}

TEST(UserDefaults, SeveralKeysAreReadAsTheyStandAtOneMoment)
{
    const auto suite = makeSuite();
    suite->set(u"a"_s, true);
    suite->set(u"b"_s, u"two"_s);
    suite->set(u"c"_s, 3.0);
    EXPECT_EQ(suite->objects({u"a"_s, u"c"_s, u"\"]"_s}),
              (PropertyListDictionary{{u"a"_s, true}, {u"c"_s, 3.0}}));
}

TEST(UserDefaults, AFailedReadSaysWhyAndTheNextGoodOneForgetsIt)
{
    const auto suite = makeSuite();
    const QString path = suite->path();
    removeFiles(path);
    QDir().mkpath(path);
    EXPECT_EQ(suite->object(u"key"_s), std::nullopt);
    EXPECT_TRUE(suite->lastError().contains(path));
    QDir().rmdir(path);
    EXPECT_EQ(suite->object(u"key"_s), std::nullopt);
    EXPECT_EQ(suite->lastError(), u"");
}

TEST(UserDefaults, ARowWhoseValueIsNotOfItsTypeHasNoValue)
{
    const char *rows[] = {
        "('bool', 'true')", "('int', 1.5)", "('double', 'x')", "('double', 9e999)",    "('string', 5)",
        "('date', 'x')",    "('data', 5)",  "('array', 'x')",  "('array', x'001122')", "('dict', x'')",
    };
    const auto suite = makeSuite();
    Sqlite file(suite->path());
    for (const char *row : rows) {
        SCOPED_TRACE(row);
        const QByteArray values = QByteArray(row).replace("('", "('key', '");
        ASSERT_TRUE(file.run("INSERT OR REPLACE INTO defaults VALUES " + values));
        EXPECT_EQ(suite->object(u"key"_s), std::nullopt);
    }
}

TEST(UserDefaults, AListThatIsNotInTheBinaryFormHasNoValue)
{
    const auto suite = makeSuite();
    ASSERT_TRUE(Sqlite(suite->path())
                    .run("INSERT INTO defaults VALUES ('key', 'array', "
                         "CAST('<?xml version=\"1.0\"?><plist><array/></plist>' AS BLOB))"));
    EXPECT_EQ(suite->object(u"key"_s), std::nullopt);
}

TEST(UserDefaults, AWholeNumberUnderTheTypeDoubleIsADouble)
{
    const auto suite = makeSuite();
    ASSERT_TRUE(Sqlite(suite->path()).run("INSERT INTO defaults VALUES ('key', 'double', 5)"));
    EXPECT_EQ(suite->object(u"key"_s), PropertyListValue(5.0));
}

TEST(UserDefaults, AWriteWaitsForAnotherProcessThatHoldsTheLock)
{
    const auto suite = makeSuite();
    Sqlite file(suite->path());
    ASSERT_TRUE(file.run("BEGIN IMMEDIATE"));
    std::atomic<bool> started = false;
    std::thread release([&] {
        started.wait(false);
        file.run("COMMIT");
    });
    started = true;
    started.notify_all();
    EXPECT_TRUE(suite->set(u"key"_s, u"value"_s));
    release.join();
}

TEST(UserDefaults, ReadingDoesNotWaitForALockedFile)
{
    const auto suite = makeSuite();
    suite->set(u"key"_s, u"value"_s);
    Sqlite file(suite->path());
    ASSERT_TRUE(file.run("BEGIN EXCLUSIVE"));
    EXPECT_EQ(suite->string(u"key"_s), u"value"_s);
}

TEST(UserDefaults, AFileThatWasDeletedIsMadeAnew)
{
    const auto suite = makeSuite();
    suite->set(u"key"_s, u"old"_s);
    removeFiles(suite->path());
    EXPECT_EQ(suite->object(u"key"_s), std::nullopt);
    EXPECT_TRUE(suite->set(u"key"_s, u"new"_s));
    EXPECT_EQ(makeSuite()->string(u"key"_s), u"new"_s);
}

TEST(UserDefaults, SeveralThreadsWriteAndReadWithoutTearingAValue)
{
    const auto suite = makeSuite();
    constexpr int rounds = 100;
    std::atomic<int> torn = 0;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&, number] {
            const QString mine(1000, QChar(u'a' + number));
            for (int round = 0; round < rounds; ++round) {
                suite->set(u"key"_s, mine);
                const QString seen = suite->string(u"key"_s).value_or(QString());
                torn += seen != QString(1000, seen.isEmpty() ? QChar() : seen.front()) ? 1 : 0;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(torn, 0);
}

TEST(UserDefaults, AGroupWithoutAContainerHasNoSuite)
{
    EXPECT_EQ(UserDefaults::suite(u"group.other"_s), nullptr);
}

TEST(UserDefaults, AGroupWhoseFileCannotBeOpenedHasNoSuite)
{
    QDir().mkpath(*FileManager::containerPath(u"group.app.kavrin.shared"_s) + u"/defaults.sqlite"_s);
    EXPECT_EQ(makeSuite(), nullptr);
}

TEST(UserDefaults, AFileOfANewerFormatIsLeftAloneAndSaysSo)
{
    const QString path = makeSuite()->path();
    ASSERT_TRUE(Sqlite(path).run("PRAGMA user_version = 2"));
    EXPECT_EQ(makeSuite(), nullptr);
    EXPECT_EQ(Sqlite(path).text("PRAGMA user_version"), u"2");
}

TEST(UserDefaults, TheStandardDefaultsAreAFileOfTheirOwn)
{
    makeSuite()->set(u"key"_s, u"shared"_s);
    EXPECT_EQ(UserDefaults::standard().object(u"key"_s), std::nullopt);
    EXPECT_TRUE(UserDefaults::standard().set(u"key"_s, u"private"_s));
    EXPECT_EQ(makeSuite()->string(u"key"_s), u"shared"_s);
}

TEST(UserDefaults, WithoutAFolderTheStandardDefaultsReadNothingAndSayWhyTheyWriteNothing)
{
    QFile blocker(qEnvironmentVariable("XDG_DATA_HOME") + u"/app.kavrin.Kavrin"_s);
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    UserDefaults &defaults = UserDefaults::standard();
    EXPECT_FALSE(defaults.set(u"key"_s, true));
    EXPECT_TRUE(defaults.lastError().contains(defaults.path()));
    EXPECT_EQ(defaults.object(u"key"_s), std::nullopt);

    blocker.remove();
    EXPECT_TRUE(defaults.set(u"key"_s, true));
}
