// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QString>

#include <sqlite3.h>
#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace kavrin
{

/// A prepared statement in use. It is bound and stepped; leaving the scope makes it ready for the next use.
class SqliteStatement
{
public:
    explicit SqliteStatement(sqlite3_stmt *statement) : m_statement(statement) { }
    ~SqliteStatement();
    Q_DISABLE_COPY_MOVE(SqliteStatement)

    void bind(int index, qint64 value);
    void bind(int index, double value);
    void bindText(int index, const QByteArray &utf8);
    void bindBlob(int index, const QByteArray &data);

    /// SQLITE_ROW, SQLITE_DONE or an error.
    int step();

    [[nodiscard]] int columnType(int column) const;
    [[nodiscard]] qint64 integer(int column) const;
    [[nodiscard]] double real(int column) const;
    /// Text or blob, as a copy.
    [[nodiscard]] QByteArray bytes(int column) const;

private:
    sqlite3_stmt *m_statement;
};

/// One connection to a database file. It is opened on first use, and again if the file or its log was deleted
/// or replaced, or if another program gave the file another format. Not thread-safe: hold mutex().
class SqliteConnection
{
public:
    SqliteConnection() = default;
    ~SqliteConnection();
    Q_DISABLE_COPY_MOVE(SqliteConnection)

    std::mutex &mutex() { return m_mutex; }

    /// Makes sure that the file is open and holds the table of defaults. It and later statements wait until
    /// `limit` if another process keeps the file locked. Returns SQLITE_OK or an error.
    int open(const QString &path, QDeadlineTimer limit);
    void close();
    /// Closes the file without moving the log into it.
    void closeAsItIs();

    /// Runs `use` on the statement for `sql`, a literal, which is prepared once. Returns the result of `use`:
    /// SQLITE_ROW, SQLITE_DONE or an error.
    using Use = std::function<int(SqliteStatement &)>;
    int run(const char *sql, const Use &use = &SqliteStatement::step);

    /// Runs `statements` as one transaction, and rolls it back if the result is an error. SQLITE_MISMATCH if
    /// the file has another format by then.
    int transact(const std::function<int()> &statements);

    /// SQLite's text for the last error.
    [[nodiscard]] QString errorMessage() const { return m_errorMessage; }
    [[nodiscard]] sqlite3 *handle() const { return m_handle; }

    /// Whether this connection sees the file only as it was when it was opened. SQLite needs room for other
    /// files to see later changes; a full disk, or a folder that may not be written to, leaves none.
    [[nodiscard]] bool isSnapshot() const { return m_writeError != SQLITE_OK; }
    /// Whether this connection cannot write, for this or another reason.
    [[nodiscard]] bool isReadOnly() const;
    /// The result of a write to a snapshot: SQLITE_READONLY or SQLITE_FULL.
    [[nodiscard]] int writeError() const { return m_writeError; }

private:
    using FileIdentity = std::pair<dev_t, ino_t>;

    int openFile(const QString &path, int flags, QDeadlineTimer limit);
    int openAndProbe(const QString &path, int flags, QDeadlineTimer limit);
    sqlite3_stmt *prepare(const char *sql, int &result);
    int writeErrorFor(const QString &path, int result) const;
    int probe(const QString &path, QDeadlineTimer limit);
    [[nodiscard]] bool hasMoved(const QString &path) const;
    /// Whether the file now has a format that this version does not know.
    [[nodiscard]] bool isForeign();
    [[nodiscard]] bool hasLostLog(const QString &path) const;

    std::mutex m_mutex;
    sqlite3 *m_handle = nullptr;
    std::vector<std::pair<const char *, sqlite3_stmt *>> m_statements;
    int m_writeError = SQLITE_OK;
    std::optional<FileIdentity> m_file; ///< the file that had the name when it was opened
    std::optional<FileIdentity> m_log; ///< the log that it has open
    QString m_errorMessage;
};

/// The database file of one UserDefaults. It has a connection to read and one to write, so that a read never
/// waits for a write that another process delays. Thread-safe. It copies a damaged file to another file
/// beside it, and makes the damaged one a fresh one, when somebody uses it who has the time.
class SqliteDatabase
{
public:
    explicit SqliteDatabase(QString path);

    /// See UserDefaults.
    static void setReadPatience(std::chrono::milliseconds patience);

    /// Whether the file exists and is a database, or could be made one. Also true for a file that is only
    /// locked, and for one on a disk that is full or may not be written to.
    bool open();

    /// Runs `use` on the statement for `sql`. Returns what went wrong.
    std::optional<Error> read(const char *sql, const SqliteConnection::Use &use);

    /// Runs `use` on the connection that writes, as one transaction. The result of `use` is SQLITE_DONE or an
    /// error. Returns what went wrong; the file has not changed then.
    using Write = std::function<int(SqliteConnection &)>;
    std::optional<Error> write(const Write &use, QDeadlineTimer limit);

    [[nodiscard]] QString path() const { return m_path; }

private:
    using Run = std::function<int(SqliteConnection &)>;
    std::optional<Error> run(SqliteConnection &connection, QDeadlineTimer limit, const Run &use);
    std::optional<Error> runOnce(SqliteConnection &connection, QDeadlineTimer limit, const Run &use);
    int runWhenFree(SqliteConnection &connection, QDeadlineTimer limit, const Run &use);
    std::optional<Error> runReader(const Run &use);
    void setAsideIfDamaged(QDeadlineTimer limit);

    QString m_path;
    SqliteConnection m_reader;
    SqliteConnection m_writer;
    std::atomic<bool> m_isLockedOut = false;
};

} // namespace kavrin
