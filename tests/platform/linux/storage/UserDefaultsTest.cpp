// SPDX-License-Identifier: MIT
#include "platform/UserDefaults.h"
#include "platform/FileManager.h"
#include "support/Suite.h"
#include "support/WaitingWrite.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <limits>
#include <optional>
#include <thread>
#include <utility>
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

mode_t modeOf(const QString &path)
{
    struct stat status = {};
    ::stat(QFile::encodeName(path).constData(), &status);
    return status.st_mode & 07777;
}

constexpr uid_t somebody = 65534;

bool canBeReadBySomebody(const QString &path)
{
    EXPECT_EQ(::seteuid(somebody), 0);
    const bool canBeRead = QFile::exists(path);
    EXPECT_EQ(::seteuid(0), 0);
    return canBeRead;
}

/// The path of the suite as another user opens it, if that may use it.
std::optional<QString> somebodysSuite()
{
    EXPECT_EQ(::seteuid(somebody), 0);
    const auto suite = makeSuite();
    EXPECT_EQ(::seteuid(0), 0);
    return suite ? std::optional(suite->path()) : std::nullopt;
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

/// Keeps every other process from the whole file.
constexpr const char *keepWhole = "PRAGMA locking_mode = EXCLUSIVE; BEGIN IMMEDIATE; COMMIT";

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
        EXPECT_EQ(test::failureOf(suite->set(u"key"_s, values[index])), u"");
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
    test::put(*suite, u"key"_s, u"value"_s);
    EXPECT_EQ(test::failureOf(suite->remove(u"key"_s)), u"");
    EXPECT_EQ(suite->object(u"key"_s), std::nullopt);
    EXPECT_EQ(test::failureOf(suite->remove(u"key"_s)), u"");
}

TEST(UserDefaults, AStringIsReplacedOnlyWhereItIsThere)
{
    using Stored = std::optional<PropertyListValue>;
    const struct {
        Stored before;
        Stored after;
    } cases[] = {
        {u"from"_s, u"to"_s}, {u"From"_s, u"From"_s},       {u""_s, u""_s},
        {true, true},         {std::nullopt, std::nullopt},
    };
    const auto suite = makeSuite();
    test::put(*suite, u"another"_s, u"from"_s);
    for (const auto &[before, after] : cases) {
        SCOPED_TRACE(before ? before->index() : std::variant_npos);
        test::drop(*suite, u"key"_s);
        if (before) {
            test::put(*suite, u"key"_s, *before);
        }
        EXPECT_EQ(test::failureOf(suite->write({{u"key"_s, u"to"_s, u"from"_s}})), u"");
        EXPECT_EQ(suite->object(u"key"_s), after);
    }
    EXPECT_EQ(suite->object(u"another"_s), PropertyListValue(u"from"_s));
}

TEST(UserDefaults, ChangesAreMadeTogetherInTheirOrder)
{
    const auto suite = makeSuite();
    test::put(*suite, u"old"_s, 1.0);
    const Changes changes = {{u"a"_s, u"first"_s}, {u"old"_s, std::nullopt}, {u"a"_s, u"last"_s}};
    EXPECT_EQ(test::failureOf(suite->write(changes)), u"");
    EXPECT_EQ(suite->dictionaryRepresentation().value, (PropertyListDictionary{{u"a"_s, u"last"_s}}));
}

TEST(UserDefaults, OfChangesOfWhichOneFailsNoneIsMade)
{
    const auto suite = makeSuite();
    test::put(*suite, u"old"_s, 1.0);
    Sqlite(suite->path())
        .run("CREATE TRIGGER refused BEFORE INSERT ON defaults WHEN NEW.key = 'refused' "
             "BEGIN SELECT RAISE(ABORT, 'refused for the test'); END");
    const QString failure =
        test::failureOf(suite->write({{u"a"_s, true}, {u"old"_s, std::nullopt}, {u"refused"_s, true}}));
    EXPECT_TRUE(failure.contains(u"refused for the test")) << failure.toStdString();
    EXPECT_EQ(suite->dictionaryRepresentation().value, (PropertyListDictionary{{u"old"_s, 1.0}}));
}

TEST(UserDefaults, ANumberThatIsNotFiniteIsRefusedAndTheOldValueStays)
{
    const auto suite = makeSuite();
    test::put(*suite, u"key"_s, 1.0);
    for (const double number :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        EXPECT_NE(test::failureOf(suite->set(u"key"_s, number)), u"");
        EXPECT_EQ(suite->object(u"key"_s), PropertyListValue(1.0));
    }
}

TEST(UserDefaults, AListThatWouldNotBeFoundAgainIsRefusedAndTheOldValueStays)
{
    const auto suite = makeSuite();
    test::put(*suite, u"key"_s, 1.0);
    PropertyListValue nested = PropertyListArray{};
    for (int depth = 0; depth < 600; ++depth) {
        nested = PropertyListArray{std::move(nested)};
    }
    const PropertyListValue values[] = {nested, PropertyListArray(100'001, true),
                                        PropertyListDictionary{{u"member"_s, nested}}};
    for (const PropertyListValue &value : values) {
        EXPECT_NE(test::failureOf(suite->set(u"key"_s, value)), u"");
        EXPECT_EQ(suite->object(u"key"_s), PropertyListValue(1.0));
    }
    EXPECT_EQ(test::failureOf(suite->set(u"key"_s, PropertyListArray(90'000, true))), u"");
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
        test::put(*suite, u"key"_s, value);
        EXPECT_EQ(suite->string(u"key"_s), expected);
    }
}

TEST(UserDefaults, TheDictionaryHoldsEveryKey)
{
    const auto suite = makeSuite();
    test::put(*suite, u"a"_s, true);
    test::put(*suite, u"b"_s, u"two"_s);
    EXPECT_EQ(suite->dictionaryRepresentation().value,
              (PropertyListDictionary{{u"a"_s, true}, {u"b"_s, u"two"_s}}));
}

TEST(UserDefaults, TheFileIsWhatTheContractSays)
{
    const auto suite = makeSuite();
    test::put(*suite, u"key"_s, 1.5);
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
    test::put(*suite, u"openaiKey"_s, u"secret"_s);
    const QFileInfo file(suite->path());
    for (const QFileInfo &entry : file.dir().entryInfoList({file.fileName() + u"*"_s}, QDir::Files)) {
        EXPECT_EQ(entry.permissions()
                      & (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther),
                  0)
            << entry.fileName().toStdString();
    }
}

TEST(UserDefaults, OnlyTheUserMayEnterTheFoldersThatAreMadeForTheSuite)
{
    const QString data = qEnvironmentVariable("XDG_DATA_HOME");
    QDir(data).removeRecursively();
    const mode_t before = umask(0);
    const auto suite = makeSuite();
    umask(before);
    for (QString folder = suite->path(); folder != data;) {
        folder = QFileInfo(folder).path();
        EXPECT_EQ(modeOf(folder), 0700U) << folder.toStdString();
    }
}

TEST(UserDefaults, AFolderOrFileThatLetsOthersInIsNarrowed)
{
    const QString path = makeSuite()->path();
    Sqlite other(path);
    other.text("SELECT count(*) FROM defaults"); // keeps the log open
    test::put(*makeSuite(), u"openaiKey"_s, u"secret"_s);
    const QString folder = QFileInfo(path).path();
    const std::pair<QString, mode_t> rows[] = {
        {QFileInfo(folder).path(), 0700}, {folder, 0700},           {path, 0600},
        {path + u"-wal"_s, 0600},         {path + u"-shm"_s, 0600},
    };
    for (const auto &[name, expected] : rows) {
        ASSERT_EQ(::chmod(QFile::encodeName(name).constData(), expected | 0066), 0);
    }
    EXPECT_EQ(makeSuite()->string(u"openaiKey"_s), u"secret"_s);
    for (const auto &[name, expected] : rows) {
        EXPECT_EQ(modeOf(name), expected) << name.toStdString();
    }
}

TEST(UserDefaults, WhatBelongsToAnotherUserIsUsedByRootOnly)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "Only root can be two users.";
    }
    if (!canBeReadBySomebody(QCoreApplication::applicationDirPath())) {
        GTEST_SKIP() << "An ordinary user cannot read the programs here.";
    }
    const QTemporaryDir data;
    ASSERT_EQ(::chown(QFile::encodeName(data.path()).constData(), somebody, 0), 0);
    qputenv("XDG_DATA_HOME", QFile::encodeName(data.path()));
    const std::optional<QString> path = somebodysSuite();
    ASSERT_TRUE(path);
    const QString folder = QFileInfo(*path).path();
    for (const QString &name : {QFileInfo(folder).path(), folder, *path}) {
        const QByteArray foreign = QFile::encodeName(name);
        ASSERT_EQ(::chown(foreign.constData(), 0, 0), 0);
        ASSERT_EQ(::chmod(foreign.constData(), 0777), 0);
        EXPECT_EQ(somebodysSuite(), std::nullopt) << foreign.constData();
        EXPECT_NE(makeSuite(), nullptr);
        ASSERT_EQ(::chown(foreign.constData(), somebody, 0), 0);
        EXPECT_EQ(somebodysSuite(), path);
    }
}

TEST(UserDefaults, ALinkThatLeadsNowhereIsNoSuiteAndNothingIsMadeThere)
{
    const QString path = makeSuite()->path();
    const QString target = qEnvironmentVariable("XDG_DATA_HOME") + u"/target"_s;
    removeFiles(path);
    ASSERT_TRUE(QFile::link(target, path));
    EXPECT_EQ(makeSuite(), nullptr);
    EXPECT_FALSE(QFile::exists(target));
}

TEST(UserDefaults, WhatAnotherProcessWritesIsSeenAtOnce)
{
    const auto suite = makeSuite();
    test::put(*suite, u"key"_s, u"old"_s);
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
    test::put(*suite, u"theirs"_s, u""_s);
    for (int round = 0; round < 10; ++round) {
        const QString number = QString::number(round);
        ASSERT_EQ(test::failureOf(suite->set(u"ours"_s, number)), u"");
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
    test::put(*suite, u"a"_s, true);
    test::put(*suite, u"b"_s, u"two"_s);
    test::put(*suite, u"c"_s, 3.0);
    EXPECT_EQ(suite->objects({u"a"_s, u"c"_s, u"\"]"_s}).value,
              (PropertyListDictionary{{u"a"_s, true}, {u"c"_s, 3.0}}));
}

TEST(UserDefaults, AFailedReadSaysWhy)
{
    const auto suite = makeSuite();
    const QString path = suite->path();
    removeFiles(path);
    QDir().mkpath(path);
    EXPECT_TRUE(test::failureOf(suite->read(u"key"_s).failure).contains(path));
    EXPECT_TRUE(test::failureOf(suite->objects({u"key"_s}).failure).contains(path));
    EXPECT_TRUE(test::failureOf(suite->dictionaryRepresentation().failure).contains(path));
    QDir().rmdir(path);
    EXPECT_EQ(test::failureOf(suite->read(u"key"_s).failure), u"");
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
    EXPECT_EQ(test::failureOf(suite->set(u"key"_s, u"value"_s)), u"");
    release.join();
}

TEST(UserDefaults, ReadingDoesNotWaitForALockedFile)
{
    const auto suite = makeSuite();
    test::put(*suite, u"key"_s, u"value"_s);
    Sqlite file(suite->path());
    ASSERT_TRUE(file.run("BEGIN EXCLUSIVE"));
    EXPECT_EQ(suite->string(u"key"_s), u"value"_s);
}

TEST(UserDefaults, AReadWaitsForAWhollyLockedFileOnlyAsLongAsTheProcessIsPatient)
{
    const QString path = makeSuite()->path();
    Sqlite file(path);
    ASSERT_TRUE(file.run(keepWhole));
    UserDefaults::setReadPatience(std::chrono::milliseconds(1));
    std::promise<void> hasRead;
    std::future<std::future_status> waited = std::async(std::launch::async, [&] {
        return hasRead.get_future().wait_for(std::chrono::seconds(3)); // less than a read waits otherwise
    });
    EXPECT_EQ(makeSuite()->object(u"key"_s), std::nullopt);
    hasRead.set_value();
    EXPECT_EQ(waited.get(), std::future_status::ready);
}

TEST(UserDefaults, AReadGivesUpWhereAWriteWaitsToLayTheFileOut)
{
    const auto suite = makeSuite();
    UserDefaults::setReadPatience(std::chrono::milliseconds(1));
    removeFiles(suite->path());
    Sqlite file(suite->path());
    ASSERT_TRUE(file.run("CREATE TABLE theirs (value); BEGIN IMMEDIATE"));
    test::WaitingWrite write(*suite);
    EXPECT_TRUE(test::failureOf(suite->read(u"key"_s).failure).contains(u"keeps the file locked"));
    EXPECT_TRUE(write.isWaiting());
    ASSERT_TRUE(file.run("ROLLBACK"));
    EXPECT_EQ(write.failure(), u"");
    EXPECT_EQ(test::failureOf(suite->read(u"key"_s).failure), u"");
}

TEST(UserDefaults, AWriteWaitsAlsoWhereReadsHaveGivenUp)
{
    auto file = std::make_unique<Sqlite>(makeSuite()->path());
    ASSERT_TRUE(file->run(keepWhole));
    UserDefaults::setReadPatience(std::chrono::milliseconds(1));
    const auto suite = makeSuite();
    EXPECT_EQ(suite->object(u"key"_s), std::nullopt);
    std::thread release([&] {
        std::this_thread::sleep_for(
            std::chrono::milliseconds(200)); // the write is most likely to wait by then
        file.reset();
    });
    EXPECT_EQ(test::failureOf(suite->set(u"key"_s, u"value"_s)), u"");
    release.join();
}

TEST(UserDefaults, AFileThatWasDeletedIsMadeAnew)
{
    const auto suite = makeSuite();
    test::put(*suite, u"key"_s, u"old"_s);
    removeFiles(suite->path());
    EXPECT_EQ(suite->object(u"key"_s), std::nullopt);
    EXPECT_EQ(test::failureOf(suite->set(u"key"_s, u"new"_s)), u"");
    EXPECT_EQ(makeSuite()->string(u"key"_s), u"new"_s);
}

TEST(UserDefaults, AFileThatALinkReplacesIsNoticed)
{
    const QString folder = *FileManager::containerPath(u"group.app.kavrin.shared"_s);
    const auto lead = [&](const QString &target) {
        QDir().mkpath(target);
        QFile::remove(folder);
        return QFile::link(target, folder);
    };
    QDir().mkpath(QFileInfo(folder).path());
    ASSERT_TRUE(lead(folder + u"-new"_s));
    test::put(*makeSuite(), u"key"_s, u"new"_s);
    ASSERT_TRUE(lead(folder + u"-old"_s));
    const auto suite = makeSuite();
    test::put(*suite, u"key"_s, u"old"_s);

    ASSERT_TRUE(lead(folder + u"-new"_s));
    EXPECT_EQ(suite->string(u"key"_s), u"new"_s);
    EXPECT_EQ(test::failureOf(suite->set(u"key"_s, u"newer"_s)), u"");
    EXPECT_EQ(makeSuite()->string(u"key"_s), u"newer"_s);
    EXPECT_EQ(Sqlite(suite->path()).text("PRAGMA integrity_check"), u"ok");
    EXPECT_EQ(Sqlite(folder + u"-old/defaults.sqlite"_s).text("SELECT value FROM defaults"), u"old");
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
                test::put(*suite, u"key"_s, mine);
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

namespace
{

/// That a newer version's file is neither read nor written.
void expectToBeLeftAlone(UserDefaults &suite)
{
    EXPECT_TRUE(test::failureOf(suite.set(u"key"_s, u"new"_s)).contains(u"made by a newer version"));
    EXPECT_TRUE(test::failureOf(suite.read(u"key"_s).failure).contains(u"made by a newer version"));
    EXPECT_EQ(Sqlite(suite.path()).text("SELECT value FROM defaults WHERE key = 'key'"), u"old");
}

} // namespace

TEST(UserDefaults, AFileThatGetsANewerFormatWhileItIsOpenIsLeftAloneFromThenOn)
{
    const auto suite = makeSuite();
    test::put(*suite, u"key"_s, u"old"_s);
    Sqlite other(suite->path());
    ASSERT_TRUE(other.run("PRAGMA user_version = 2"));
    expectToBeLeftAlone(*suite);
    ASSERT_TRUE(other.run("PRAGMA user_version = 1"));
    EXPECT_EQ(suite->string(u"key"_s), u"old"_s);
    EXPECT_EQ(test::failureOf(suite->set(u"key"_s, u"new"_s)), u"");
}

TEST(UserDefaults, AFileThatGetsANewerFormatWhileAWriteWaitsForItIsLeftAlone)
{
    const auto suite = makeSuite();
    test::put(*suite, u"key"_s, u"old"_s);
    Sqlite other(suite->path());
    ASSERT_TRUE(other.run("BEGIN IMMEDIATE; PRAGMA user_version = 2"));
    std::thread release([&] {
        std::this_thread::sleep_for(
            std::chrono::milliseconds(200)); // the write is most likely to wait by then
        other.run("COMMIT");
    });
    expectToBeLeftAlone(*suite);
    release.join();
}

TEST(UserDefaults, TheStandardDefaultsAreAFileOfTheirOwn)
{
    test::put(*makeSuite(), u"key"_s, u"shared"_s);
    EXPECT_EQ(UserDefaults::standard().object(u"key"_s), std::nullopt);
    EXPECT_EQ(test::failureOf(UserDefaults::standard().set(u"key"_s, u"private"_s)), u"");
    EXPECT_EQ(makeSuite()->string(u"key"_s), u"shared"_s);
}

TEST(UserDefaults, WithoutAFolderTheStandardDefaultsReadNothingAndSayWhyTheyWriteNothing)
{
    QFile blocker(qEnvironmentVariable("XDG_DATA_HOME") + u"/app.kavrin.Kavrin"_s);
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    UserDefaults &defaults = UserDefaults::standard();
    EXPECT_TRUE(test::failureOf(defaults.set(u"key"_s, true)).contains(defaults.path()));
    EXPECT_EQ(defaults.object(u"key"_s), std::nullopt);

    blocker.remove();
    EXPECT_EQ(test::failureOf(defaults.set(u"key"_s, true)), u"");
}
