// SPDX-License-Identifier: MIT
#include "platform/UserDefaults.h"
#include "support/Suite.h"
#include "support/WaitingWrite.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <functional>
#include <thread>
#include <tuple>

using namespace kavrin;
using namespace Qt::StringLiterals;

namespace
{

constexpr int settingCount = 40;

std::unique_ptr<UserDefaults> makeSuite()
{
    return UserDefaults::suite(u"group.app.kavrin.shared"_s);
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

void replace(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(bytes);
}

/// A suite with some settings, closed, so that one file holds it all.
QString makeFile()
{
    const auto suite = makeSuite();
    for (int number = 0; number < settingCount; ++number) {
        test::put(*suite, u"key%1"_s.arg(number), u"value %1"_s.arg(number));
    }
    return suite->path();
}

QFileInfoList setAside(const QString &path)
{
    const QFileInfo file(path);
    return file.dir().entryInfoList({file.fileName() + u".damaged-*"_s}, QDir::Files);
}

/// A program that has the suite open.
class Keyboard
{
public:
    explicit Keyboard(const QString &path)
    {
        sqlite3_open(path.toUtf8().constData(), &m_handle);
        text("SELECT count(*) FROM defaults");
    }
    ~Keyboard() { sqlite3_close(m_handle); }
    Q_DISABLE_COPY_MOVE(Keyboard)

    /// The first value of the first row; nothing on failure.
    QByteArray text(const char *sql)
    {
        sqlite3_stmt *statement = nullptr;
        sqlite3_prepare_v2(m_handle, sql, -1, &statement, nullptr);
        sqlite3_step(statement);
        const QByteArray value(reinterpret_cast<const char *>(sqlite3_column_text(statement, 0)));
        sqlite3_finalize(statement);
        return value;
    }

private:
    sqlite3 *m_handle = nullptr;
};

} // namespace

TEST(DamagedSuite, AFileThatIsNoDatabaseIsSetAsideAndAFreshOneBegun)
{
    const QString path = makeFile();
    const QByteArray rubbish = QByteArray("this is no database\n").repeated(200);
    replace(path, rubbish);

    const auto suite = makeSuite();
    ASSERT_NE(suite, nullptr);
    EXPECT_EQ(suite->object(u"key1"_s), std::nullopt);
    EXPECT_EQ(test::failureOf(suite->set(u"key1"_s, u"new"_s)), u"");
    ASSERT_EQ(setAside(path).size(), 1);
    EXPECT_EQ(contents(setAside(path).first().filePath()), rubbish);
    EXPECT_EQ(makeSuite()->string(u"key1"_s), u"new"_s);
}

TEST(DamagedSuite, ATableThatMayHoldAKeyTwiceIsSetAside)
{
    const QString path = makeFile();
    Keyboard(path).text("CREATE TABLE keyless AS SELECT * FROM defaults");
    Keyboard(path).text("DROP TABLE defaults");
    Keyboard(path).text("ALTER TABLE keyless RENAME TO defaults");

    const auto suite = makeSuite();
    ASSERT_NE(suite, nullptr);
    EXPECT_EQ(test::failureOf(suite->set(u"key1"_s, u"new"_s)), u"");
    EXPECT_EQ(suite->string(u"key1"_s), u"new"_s);
    EXPECT_EQ(setAside(path).size(), 1);
}

TEST(DamagedSuite, AFileCutShortIsSetAside)
{
    const QString path = makeFile();
    replace(path, contents(path).chopped(1000));
    const auto suite = makeSuite();
    ASSERT_NE(suite, nullptr);
    EXPECT_EQ(test::failureOf(suite->set(u"key1"_s, u"new"_s)), u"");
    EXPECT_EQ(setAside(path).size(), 1);
}

TEST(DamagedSuite, ASoundFileIsNotSetAside)
{
    const QString path = makeFile();
    EXPECT_EQ(makeSuite()->string(u"key1"_s), u"value 1"_s);
    EXPECT_TRUE(setAside(path).isEmpty());
}

TEST(DamagedSuite, DamageAnywhereNeverStopsReadingAndWriting)
{
    const QString path = makeFile();
    const QByteArray sound = contents(path);
    constexpr quint32 seed = 20261121;
    QRandomGenerator random(seed);
    for (int round = 0; round < 100; ++round) {
        const auto place = qsizetype(random.bounded(quint32(sound.size())));
        SCOPED_TRACE(place);
        QByteArray damaged = sound;
        damaged[place] = char(damaged.at(place) ^ char(random.bounded(1, 256)));
        for (const QString &suffix : {u"-wal"_s, u"-shm"_s}) {
            QFile::remove(path + suffix);
        }
        replace(path, damaged);

        const auto suite = makeSuite();
        // A format number that is not known is the one thing that is left alone.
        if (suite == nullptr) {
            ASSERT_EQ(contents(path), damaged);
            continue;
        }
        ASSERT_EQ(test::failureOf(suite->set(u"written"_s, qint64(round))), u"");
        ASSERT_EQ(suite->object(u"written"_s), PropertyListValue(qint64(round)));
        ASSERT_GE(suite->dictionaryRepresentation().value.size(), 1U);
    }
}

TEST(DamagedSuite, DamageUnderARunningProgramIsFoundAndTheProgramGoesOn)
{
    const QString path = makeFile();
    const auto suite = makeSuite();
    EXPECT_EQ(suite->string(u"key1"_s), u"value 1"_s);
    QByteArray damaged = contents(path);
    damaged.replace(512, damaged.size() - 512, QByteArray(damaged.size() - 512, '\xAA'));
    replace(path, damaged);

    EXPECT_EQ(test::failureOf(suite->set(u"key1"_s, u"new"_s)), u"");
    EXPECT_EQ(suite->string(u"key1"_s), u"new"_s);
}

TEST(DamagedSuite, DamageAnywhereInTheHeaderNeverStopsReadingAndWriting)
{
    const QString path = makeFile();
    const QByteArray sound = contents(path);
    constexpr int headerSize = 100;
    constexpr int formatNumber = 60; // four bytes; a number that is not known is left alone
    for (int place = 0; place < headerSize; ++place) {
        for (const char change : {'\x02', '\xff'}) {
            if (place >= formatNumber && place < formatNumber + 4) {
                continue;
            }
            SCOPED_TRACE(place);
            QByteArray damaged = sound;
            damaged[place] = char(damaged.at(place) ^ change);
            replace(path, damaged);

            const auto suite = makeSuite();
            ASSERT_NE(suite, nullptr);
            ASSERT_EQ(test::failureOf(suite->set(u"written"_s, qint64(place))), u"");
            ASSERT_EQ(suite->object(u"written"_s), PropertyListValue(qint64(place)));
        }
    }
}

TEST(DamagedSuite, AKeyThatIsNotInItsPlaceIsDamage)
{
    const QString path = makeFile();
    QByteArray damaged = contents(path);
    ASSERT_EQ(damaged.count("key21"), 1);
    replace(path, damaged.replace("key21", "yek21"));
    EXPECT_EQ(test::failureOf(makeSuite()->set(u"key21"_s, u"new"_s)), u"");
    EXPECT_EQ(setAside(path).size(), 1);
}

TEST(DamagedSuite, TheLogIsSetAsideWithTheFile)
{
    const QString path = makeFile();
    QByteArray log;
    {
        const Keyboard keyboard(path); // which keeps the log from being tidied up
        test::put(*makeSuite(), u"key1"_s, u"in the log"_s);
        log = contents(path + u"-wal"_s);
        replace(path, "this is no database");
        EXPECT_EQ(test::failureOf(makeSuite()->set(u"key1"_s, u"new"_s)), u"");
    }
    ASSERT_EQ(setAside(path).size(), 2);
    EXPECT_EQ(contents(setAside(path).first().filePath()), "this is no database");
    EXPECT_EQ(contents(setAside(path).last().filePath()), log);
}

TEST(DamagedSuite, OnlyTheUserMayReadWhatWasSetAside)
{
    const QString path = makeFile();
    const Keyboard keyboard(path); // which keeps the log from being tidied up
    test::put(*makeSuite(), u"key1"_s, u"in the log"_s);
    replace(path, "this is no database");
    for (const QString &name : {path, path + u"-wal"_s}) {
        ASSERT_EQ(::chmod(QFile::encodeName(name).constData(), 0666), 0);
    }
    makeSuite();
    QFileInfoList files = setAside(path);
    ASSERT_EQ(files.size(), 2);
    files << QFileInfo(path);
    for (const QFileInfo &file : files) {
        EXPECT_EQ(file.permissions() & ~(QFile::ReadUser | QFile::WriteUser),
                  QFile::ReadOwner | QFile::WriteOwner);
    }
}

TEST(DamagedSuite, AProgramThatHasTheFileOpenGoesOnWithTheFreshOne)
{
    for (const QByteArray &rubbish :
         {QByteArray("no"), QByteArray("no database ").repeated(500), QByteArray(100, 0)}) {
        for (const bool isLogDamaged : {false, true}) {
            SCOPED_TRACE(rubbish.size());
            const QString path = makeSuite()->path();
            Keyboard keyboard(path);
            test::put(*makeSuite(), u"key1"_s, u"in the log"_s);
            replace(path, rubbish);
            if (isLogDamaged) {
                replace(path + u"-wal"_s, rubbish);
            }

            const auto suite = makeSuite();
            EXPECT_EQ(suite->object(u"key1"_s), std::nullopt);
            EXPECT_EQ(test::failureOf(suite->set(u"key1"_s, u"new"_s)), u"");
            EXPECT_EQ(keyboard.text("SELECT value FROM defaults WHERE key = 'key1'"), "new");
            keyboard.text("UPDATE defaults SET value = 'theirs'");
            EXPECT_EQ(suite->string(u"key1"_s), u"theirs"_s);
            EXPECT_EQ(keyboard.text("PRAGMA integrity_check"), "ok");
        }
    }
}

TEST(DamagedSuite, ALogThatIsCutShortUnderItsReadersIsLostAndNothingElse)
{
    const QString path = makeFile();
    Keyboard keyboard(path);
    keyboard.text("VACUUM"); // puts every page into the log
    const auto suite = makeSuite();
    EXPECT_EQ(suite->string(u"key1"_s), u"value 1"_s);
    replace(path + u"-wal"_s, "no");

    EXPECT_EQ(test::failureOf(suite->set(u"key1"_s, u"new"_s)), u"");
    EXPECT_EQ(keyboard.text("SELECT value FROM defaults WHERE key = 'key1'"), "new");
    EXPECT_EQ(suite->string(u"key2"_s), u"value 2"_s);
    EXPECT_TRUE(setAside(path).isEmpty());
}

TEST(DamagedSuite, ALogThatIsRemovedUnderAProgramIsPutBackByIt)
{
    const QString path = makeFile();
    const auto suite = makeSuite();
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        const QString value = u"in the log %1"_s.arg(round);
        test::put(*suite, u"key1"_s, value);
        ASSERT_TRUE(QFile::remove(path + u"-wal"_s));

        EXPECT_EQ(suite->string(u"key1"_s), value);
        EXPECT_EQ(QFileInfo(path + u"-wal"_s).permissions(), QFileInfo(path).permissions());
        EXPECT_EQ(makeSuite()->string(u"key1"_s), value);
        EXPECT_EQ(Keyboard(path).text("PRAGMA integrity_check"), "ok");
    }
    EXPECT_TRUE(setAside(path).isEmpty());
}

TEST(DamagedSuite, AProgramThatMissesARemovedLogWaitsForTheOneThatHasIt)
{
    const QString path = makeFile();
    const auto suite = makeSuite();
    test::put(*suite, u"key1"_s, u"in the log"_s);
    ASSERT_TRUE(QFile::remove(path + u"-wal"_s));
    Keyboard(path).text("SELECT 1"); // makes an empty one

    const std::jthread poll([&](const std::stop_token &stop) {
        while (!stop.stop_requested()) {
            std::ignore = suite->string(u"key1"_s);
            std::this_thread::yield();
        }
    });
    EXPECT_EQ(makeSuite()->string(u"key1"_s), u"in the log"_s);
    EXPECT_TRUE(setAside(path).isEmpty());
}

TEST(DamagedSuite, AReadWithoutTheTimeToWaitForARemovedLogLosesNothing)
{
    const QString path = makeFile();
    const auto suite = makeSuite();
    test::put(*suite, u"key1"_s, u"in the log"_s);
    ASSERT_TRUE(QFile::remove(path + u"-wal"_s));
    Keyboard(path).text("SELECT 1"); // makes an empty one

    UserDefaults::setReadPatience(std::chrono::milliseconds(1));
    const auto hasty = makeSuite();
    ASSERT_NE(hasty, nullptr);
    EXPECT_TRUE(test::failureOf(hasty->read(u"key1"_s).failure).contains(u"keeps the file locked"));
    EXPECT_EQ(suite->string(u"key1"_s), u"in the log"_s);
    EXPECT_EQ(hasty->string(u"key1"_s), u"in the log"_s);
    EXPECT_TRUE(setAside(path).isEmpty());
}

TEST(DamagedSuite, ALockedFileIsSetAsideByAWriteThatWaitsAndNotByAReadThatDoesNot)
{
    const QString path = makeFile();
    Keyboard keyboard(path);
    keyboard.text("BEGIN IMMEDIATE");
    replace(path, "this is no database");

    UserDefaults::setReadPatience(std::chrono::milliseconds(1));
    const auto suite = makeSuite();
    ASSERT_NE(suite, nullptr);
    test::WaitingWrite write(*suite);
    EXPECT_TRUE(test::failureOf(suite->read(u"key1"_s).failure).contains(u"keeps the file locked"));
    EXPECT_TRUE(write.isWaiting());
    EXPECT_TRUE(setAside(path).isEmpty());
    keyboard.text("ROLLBACK");
    EXPECT_EQ(write.failure(), u"");
    EXPECT_EQ(test::failureOf(suite->read(u"key1"_s).failure), u"");
    EXPECT_EQ(setAside(path).size(), 1);
}

TEST(DamagedSuite, AFileWhoseLogIsGoneForGoodIsAsItWasBefore)
{
    const QString path = makeFile();
    const Keyboard keyboard(path); // which does not know that it should put the log back
    test::put(*makeSuite(), u"key1"_s, u"in the log"_s);
    ASSERT_TRUE(QFile::remove(path + u"-wal"_s));

    const auto suite = makeSuite();
    ASSERT_NE(suite, nullptr);
    EXPECT_EQ(suite->string(u"key1"_s), u"value 1"_s);
    EXPECT_EQ(test::failureOf(suite->set(u"key2"_s, u"new"_s)), u"");
    EXPECT_EQ(makeSuite()->string(u"key2"_s), u"new"_s);
    EXPECT_TRUE(setAside(path).isEmpty());
}

TEST(DamagedSuite, TheUserIsToldWhereTheCopyIs)
{
    QStringList told;
    const auto tell = [&](const QString &text) { told.append(text); };
    const QString path = makeFile();
    for (const bool isListening : {false, true}) {
        SCOPED_TRACE(isListening);
        UserDefaults::onDamage(isListening ? tell : std::function<void(const QString &)>());
        told.clear();
        replace(path, "this is no database");
        makeSuite();
        UserDefaults::onDamage(tell);
        ASSERT_EQ(told.size(), 1);
        EXPECT_TRUE(told.first().contains(setAside(path).last().filePath()));
    }
    UserDefaults::onDamage({});
}

TEST(DamagedSuite, TheFreshFileIsWhatTheContractSays)
{
    const QString path = makeFile();
    QByteArray schema;
    {
        schema = Keyboard(path).text("SELECT group_concat(sql) FROM sqlite_schema");
    }
    replace(path, "this is no database");
    makeSuite();
    Keyboard keyboard(path);
    EXPECT_EQ(keyboard.text("SELECT group_concat(sql) FROM sqlite_schema"), schema);
    EXPECT_EQ(keyboard.text("PRAGMA user_version"), "1");
    EXPECT_EQ(keyboard.text("PRAGMA journal_mode"), "wal");
    EXPECT_EQ(keyboard.text("PRAGMA page_size"), "512");
    EXPECT_EQ(keyboard.text("PRAGMA integrity_check"), "ok");
    EXPECT_EQ(keyboard.text("SELECT count(*) FROM defaults"), "0");
}
