// SPDX-License-Identifier: MIT
#include "platform/linux/storage/SqliteDatabase.h"

#include "platform/Logging.h"
#include "platform/linux/storage/DamageReports.h"
#include "platform/linux/storage/PrivateFiles.h"
#include "platform/linux/storage/SqliteDamage.h"
#include "platform/linux/storage/SqliteLayout.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <QUrl>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>

namespace kavrin
{

namespace
{

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// Whether no process can write below the folder at present.
bool diskIsFullOrReadOnly(QDir folder)
{
    while (!folder.exists() && !folder.isRoot()) {
        folder.setPath(QFileInfo(folder.path()).path());
    }
    const QStorageInfo disk(folder);
    return disk.isReadOnly() || disk.bytesAvailable() <= 0;
}

/// Whether the same call may succeed later, without a change to the file itself.
bool isPassing(int result, const QString &path)
{
    constexpr std::array passing = {SQLITE_BUSY, SQLITE_FULL, SQLITE_IOERR, SQLITE_READONLY};
    return std::find(passing.begin(), passing.end(), result & 0xff) != passing.end()
        || (result != SQLITE_MISMATCH && result != SQLITE_PERM
            && diskIsFullOrReadOnly(QFileInfo(path).dir()));
}

struct Explanation {
    int result;
    const char *text;
};

constexpr std::array explanations = {
    Explanation{SQLITE_FULL, "the disk is full. Make room on it and try again."},
    Explanation{SQLITE_READONLY,
                "the file or its folder cannot be written to. Make both writable and try again."},
    Explanation{SQLITE_PERM,
                "the file or its folder belongs to another user, who could read what is stored there. Move "
                "it away, or make it yours."},
    Explanation{SQLITE_BUSY, "another program keeps the file locked. End that program and try again."},
    Explanation{SQLITE_CANTOPEN,
                "the file cannot be opened. Look whether its folder is there and writable, and whether "
                "something else has its name."},
    Explanation{SQLITE_IOERR, "the disk failed. Look after it and try again."},
    Explanation{SQLITE_CORRUPT,
                "the file is damaged and could not be set aside. Make room beside it or move it away."},
    Explanation{SQLITE_NOTADB,
                "the file is damaged and could not be set aside. Make room beside it or move it away."},
    Explanation{SQLITE_MISMATCH,
                "the file was made by a newer version of Kavrin. Install that version, or move the file "
                "away."},
};

std::atomic<std::chrono::milliseconds> readPatience = 5000ms;

/// Which file has the name at present. None if there is none.
std::optional<std::pair<dev_t, ino_t>> identityOf(const QString &path)
{
    struct stat named = {};
    return ::stat(QFile::encodeName(path).constData(), &named) == 0
        ? std::optional(std::pair(named.st_dev, named.st_ino))
        : std::nullopt;
}

bool isBusy(int result)
{
    return (result & 0xff) == SQLITE_BUSY;
}

bool succeeded(int result)
{
    return result == SQLITE_OK || result == SQLITE_ROW || result == SQLITE_DONE;
}

/// What happened and what to do, in words for the user. SQLite's own words if there are none of ours.
QString explain(int result, const QString &message)
{
    const auto *found = std::find_if(explanations.begin(), explanations.end(), [&](const Explanation &known) {
        return known.result == (result & 0xff);
    });
    return found == explanations.end() ? message : QString::fromLatin1(found->text);
}

Error failureOf(const QString &path, int result, const QString &message)
{
    return {u"store"_s, result, u"%1: %2"_s.arg(path, explain(result, message))};
}

} // namespace

SqliteStatement::~SqliteStatement()
{
    sqlite3_reset(m_statement);
    sqlite3_clear_bindings(m_statement);
}

void SqliteStatement::bind(int index, qint64 value)
{
    sqlite3_bind_int64(m_statement, index, value);
}

void SqliteStatement::bind(int index, double value)
{
    sqlite3_bind_double(m_statement, index, value);
}

void SqliteStatement::bindText(int index, const QByteArray &utf8)
{
    sqlite3_bind_text64(m_statement, index, utf8.constData(), sqlite3_uint64(utf8.size()), SQLITE_TRANSIENT,
                        SQLITE_UTF8);
}

void SqliteStatement::bindBlob(int index, const QByteArray &data)
{
    sqlite3_bind_blob64(m_statement, index, data.constData(), sqlite3_uint64(data.size()), SQLITE_TRANSIENT);
}

int SqliteStatement::step()
{
    return sqlite3_step(m_statement);
}

int SqliteStatement::columnType(int column) const
{
    return sqlite3_column_type(m_statement, column);
}

qint64 SqliteStatement::integer(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

double SqliteStatement::real(int column) const
{
    return sqlite3_column_double(m_statement, column);
}

QByteArray SqliteStatement::bytes(int column) const
{
    const auto *data = static_cast<const char *>(sqlite3_column_blob(m_statement, column));
    return {data, sqlite3_column_bytes(m_statement, column)};
}

SqliteConnection::~SqliteConnection()
{
    close();
}

int SqliteConnection::open(const QString &path, QDeadlineTimer limit)
{
    if (m_handle != nullptr
        && (hasMoved(path) || isForeign() || (hasLostLog(path) && putLogBack(m_handle, path)))) {
        // A normal close would clean up by name, but the log of that name belongs to the new file.
        closeAsItIs();
    }
    if (m_handle != nullptr) {
        return SQLITE_OK;
    }
    int result = openAndProbe(path, SQLITE_OPEN_READWRITE, limit);
    m_writeError = writeErrorFor(path, result);
    if (isSnapshot()) {
        result = openAndProbe(path, SQLITE_OPEN_READONLY, limit);
    }
    if (result == SQLITE_OK) {
        sqlite3_exec(m_handle, "PRAGMA synchronous = NORMAL", nullptr, nullptr, nullptr);
        m_file = identityOf(path);
        m_log = isSnapshot() ? std::nullopt : identityOf(path + u"-wal"_s);
    } else {
        m_errorMessage = QString::fromUtf8(sqlite3_errmsg(m_handle));
        closeAsItIs();
    }
    return result;
}

/// The result that a write would have if SQLite cannot make the files that it needs beside the database;
/// otherwise SQLITE_OK.
int SqliteConnection::writeErrorFor(const QString &path, int result) const
{
    if (result == SQLITE_IOERR_SHMSIZE) {
        return SQLITE_FULL;
    }
    const bool isRefused = (result & 0xff) == SQLITE_CANTOPEN || (result & 0xff) == SQLITE_READONLY;
    return isRefused && !QFileInfo(QFileInfo(path).path()).isWritable() ? SQLITE_READONLY : SQLITE_OK;
}

int SqliteConnection::openAndProbe(const QString &path, int flags, QDeadlineTimer limit)
{
    const int result = openFile(path, flags, limit);
    return result == SQLITE_OK ? probe(path, limit) : result;
}

int SqliteConnection::openFile(const QString &path, int flags, QDeadlineTimer limit)
{
    static std::mutex making; // no other thread may open the file between its creation and its first close
    const std::scoped_lock lock(making);
    close();
    QByteArray uri = "file:" + QUrl::toPercentEncoding(path, "/");
    if (flags == SQLITE_OPEN_READONLY) {
        uri += "?immutable=1";
    } else if (!PrivateFiles::makeDatabase(path)) {
        return SQLITE_PERM;
    }
    const int result =
        sqlite3_open_v2(uri.constData(), &m_handle, flags | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX, nullptr);
    if (result == SQLITE_OK) {
        sqlite3_extended_result_codes(m_handle, 1);
        waitUntil(m_handle, limit);
    }
    return result;
}

/// Lays out a fresh file, and refuses an unknown format.
int SqliteConnection::probe(const QString &path, QDeadlineTimer limit)
{
    int result = SQLITE_OK;
    std::optional<QByteArray> version = firstText(m_handle, "PRAGMA user_version", result);
    if (version == "0") {
        const SetUpLock lock(path, limit);
        result = layOut(m_handle, limit);
        if (result != SQLITE_OK) {
            return result;
        }
        version = formatVersion;
    }
    if (!version) {
        return result;
    }
    if (*version != formatVersion) {
        return SQLITE_MISMATCH;
    }
    waitUntil(m_handle, limit);
    // Reading the table needs SQLite's other files; reading the header does not.
    firstText(m_handle, "SELECT count(value) FROM defaults WHERE key = '' AND type = ''", result);
    if (result != SQLITE_ROW) {
        return result;
    }
    const bool isSound = isSnapshot() || (keyIsSound(m_handle) && headerIsSound(m_handle, path));
    return isSound ? SQLITE_OK : SQLITE_CORRUPT;
}

void SqliteConnection::close()
{
    for (const auto &[sql, statement] : m_statements) {
        sqlite3_finalize(statement);
    }
    m_statements.clear();
    sqlite3_close_v2(m_handle);
    m_handle = nullptr;
}

void SqliteConnection::closeAsItIs()
{
    if (m_handle != nullptr) {
        sqlite3_db_config(m_handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    }
    close();
}

sqlite3_stmt *SqliteConnection::prepare(const char *sql, int &result)
{
    for (const auto &[known, statement] : m_statements) {
        if (known == sql) {
            return statement;
        }
    }
    sqlite3_stmt *statement = nullptr;
    result = sqlite3_prepare_v3(m_handle, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    if (result == SQLITE_OK) {
        m_statements.emplace_back(sql, statement);
    }
    return statement;
}

int SqliteConnection::run(const char *sql, const Use &use)
{
    int result = SQLITE_OK;
    if (sqlite3_stmt *const prepared = prepare(sql, result)) {
        SqliteStatement statement(prepared);
        result = use(statement);
    }
    if (!succeeded(result)) {
        m_errorMessage = QString::fromUtf8(sqlite3_errmsg(m_handle));
    }
    return result;
}

int SqliteConnection::transact(const std::function<int()> &statements)
{
    int result = run("BEGIN IMMEDIATE");
    if (succeeded(result)) {
        // The program for which this one has waited may have changed the format.
        result = isForeign() ? SQLITE_MISMATCH : statements();
    }
    if (succeeded(result)) {
        result = run("COMMIT");
    }
    if (sqlite3_get_autocommit(m_handle) == 0) {
        sqlite3_exec(m_handle, "ROLLBACK", nullptr, nullptr, nullptr);
    }
    return result;
}

bool SqliteConnection::isReadOnly() const
{
    return isSnapshot() || (m_handle != nullptr && sqlite3_db_readonly(m_handle, "main") == 1);
}

/// SQLite looks only for another inode, under the path without its links: not for another disk that was
/// mounted, nor for a link that leads elsewhere now.
bool SqliteConnection::hasMoved(const QString &path) const
{
    int moved = 0;
    sqlite3_file_control(m_handle, nullptr, SQLITE_FCNTL_HAS_MOVED, &moved);
    return moved != 0 || identityOf(path) != m_file;
}

bool SqliteConnection::isForeign()
{
    QByteArray version = formatVersion; // also where it cannot be read now, which other statements will say
    run("PRAGMA user_version", [&](SqliteStatement &statement) {
        const int result = statement.step();
        if (result == SQLITE_ROW) {
            version = QByteArray::number(statement.integer(0));
        }
        return result;
    });
    return version != formatVersion;
}

bool SqliteConnection::hasLostLog(const QString &path) const
{
    return m_log && identityOf(path + u"-wal"_s) != m_log;
}

void SqliteDatabase::setReadPatience(std::chrono::milliseconds patience)
{
    readPatience = patience;
}

SqliteDatabase::SqliteDatabase(QString path) : m_path(std::move(path)) { }

/// The first check of a file is thorough: damage that no read or write meets would otherwise spread.
bool SqliteDatabase::open()
{
    const std::optional<Error> failure = runReader(
        [](SqliteConnection &reader) { return pagesAreSound(reader.handle()) ? SQLITE_OK : SQLITE_CORRUPT; });
    const bool isUsable = !failure || isPassing(int(failure->code), m_path);
    if (!isUsable) {
        qCWarning(Logging::store) << "Not opened:" << failure->localizedDescription;
    }
    return isUsable;
}

std::optional<Error> SqliteDatabase::read(const char *sql, const SqliteConnection::Use &use)
{
    return runReader([&](SqliteConnection &connection) { return connection.run(sql, use); });
}

/// If another process keeps the file locked, only the first attempt to read waits: otherwise the application
/// would stand still at every key.
std::optional<Error> SqliteDatabase::runReader(const Run &use)
{
    const QDeadlineTimer limit(m_isLockedOut ? 0ms : readPatience.load());
    std::optional<Error> failure = run(m_reader, limit, use);
    m_isLockedOut = failure && isBusy(int(failure->code));
    return failure;
}

std::optional<Error> SqliteDatabase::write(const Write &use, QDeadlineTimer limit)
{
    return run(m_writer, limit, [&](SqliteConnection &connection) {
        return connection.transact([&] { return use(connection); });
    });
}

std::optional<Error> SqliteDatabase::run(SqliteConnection &connection, QDeadlineTimer limit, const Run &use)
{
    std::optional<Error> failure = runOnce(connection, limit, use);
    if (failure && isDamage(int(failure->code))) {
        setAsideIfDamaged(limit);
        failure = runOnce(connection, limit, use);
    }
    if (failure && isDamage(int(failure->code)) && limit.hasExpired()) {
        // There was no time to set it aside.
        failure = failureOf(m_path, SQLITE_BUSY, {});
    }
    return failure;
}

std::optional<Error> SqliteDatabase::runOnce(SqliteConnection &connection, QDeadlineTimer limit,
                                             const Run &use)
{
    std::unique_lock lock(connection.mutex(), std::defer_lock);
    // ThreadSanitizer does not know std::timed_mutex.
    if (!succeedsInTime([&] { return lock.try_lock(); }, limit)) {
        return failureOf(m_path, SQLITE_BUSY, {});
    }
    const int result = runWhenFree(connection, limit, use);
    return succeeded(result) ? std::nullopt
                             : std::optional(failureOf(m_path, result, connection.errorMessage()));
}

/// Opens the connection if it is not open.
int SqliteDatabase::runWhenFree(SqliteConnection &connection, QDeadlineTimer limit, const Run &use)
{
    int result = connection.open(m_path, limit);
    if (result == SQLITE_OK) {
        waitUntil(connection.handle(), limit);
        result = use(connection);
    }
    if (connection.isSnapshot() && (result & 0xff) == SQLITE_READONLY) {
        result = connection.writeError();
    }
    if (connection.isReadOnly()) {
        // By the next time, the file may have changed or become writable. The connections of a process share
        // the index of SQLite's log, so an open one would keep the others from writing.
        connection.close();
    }
    return result;
}

void SqliteDatabase::setAsideIfDamaged(QDeadlineTimer limit)
{
    std::optional<QString> copy;
    {
        std::unique_lock reader(m_reader.mutex(), std::defer_lock);
        std::unique_lock writer(m_writer.mutex(), std::defer_lock);
        if (!succeedsInTime([&] { return std::try_lock(reader, writer) == -1; }, limit)) {
            return;
        }
        m_reader.closeAsItIs();
        m_writer.closeAsItIs();
        copy = kavrin::setAsideIfDamaged(m_path, limit);
    }
    if (copy) {
        DamageReports::add(
            u"%1 was damaged and has been begun anew, so that all settings have their defaults. "
            "What it held is kept as %2."_s.arg(m_path, *copy));
    }
}

} // namespace kavrin
