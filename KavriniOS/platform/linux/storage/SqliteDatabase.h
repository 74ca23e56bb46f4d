// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QString>

#include <sqlite3.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace kavrin
{

/// A prepared statement in use: bound, stepped, and made ready for the next use when it goes out of scope.
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
    /// Text or blob, copied.
    [[nodiscard]] QByteArray bytes(int column) const;

private:
    sqlite3_stmt *m_statement;
};

/// One connection to a database file, opened on first use, and again when the file was deleted or replaced.
/// Not thread-safe: hold mutex().
class SqliteConnection
{
public:
    SqliteConnection() = default;
    ~SqliteConnection();
    Q_DISABLE_COPY_MOVE(SqliteConnection)

    std::mutex &mutex() { return m_mutex; }

    /// Makes sure that the file is open and holds the table of defaults, waiting that long for another
    /// process that keeps it locked. SQLITE_OK or an error.
    int open(const QString &path, std::chrono::milliseconds patience);
    void close();
    /// Closes without bringing the log into the file.
    void closeAsItIs();

    /// Runs `use` on the statement for `sql`, a literal, which is prepared once. The result is that of `use`:
    /// SQLITE_ROW, SQLITE_DONE or an error.
    using Use = std::function<int(SqliteStatement &)>;
    int run(const char *sql, const Use &use = &SqliteStatement::step);

    /// Runs `statements` as one transaction, which is taken back where their result is an error.
    int transact(const std::function<int()> &statements);

    /// What SQLite says of the last error.
    [[nodiscard]] QString errorMessage() const { return m_errorMessage; }
    [[nodiscard]] sqlite3 *handle() const { return m_handle; }

    /// Whether this connection sees the file as it was when it was opened: a folder that may not be written
    /// to, or a full disk, leaves no room for what SQLite needs to see more.
    [[nodiscard]] bool isSnapshot() const { return m_lacking != SQLITE_OK; }
    /// Whether this connection cannot write, a snapshot or not.
    [[nodiscard]] bool isReadOnly() const;
    /// For a snapshot, what writing lacks: SQLITE_READONLY or SQLITE_FULL.
    [[nodiscard]] int lacking() const { return m_lacking; }

private:
    int openFile(const QString &path, int flags, std::chrono::milliseconds patience);
    int openAndProbe(const QString &path, int flags, std::chrono::milliseconds patience);
    sqlite3_stmt *prepare(const char *sql, int &result);
    int lackingFor(const QString &path, int result) const;
    int probe(const QString &path);
    [[nodiscard]] bool hasMoved() const;

    std::mutex m_mutex;
    sqlite3 *m_handle = nullptr;
    std::vector<std::pair<const char *, sqlite3_stmt *>> m_statements;
    int m_lacking = SQLITE_OK;
    QString m_errorMessage;
};

/// The database file of one UserDefaults: a connection to read and one to write, so that reading never waits
/// for a write that another process delays. Thread-safe. A file that is damaged is copied to a file beside
/// itself and begun anew.
class SqliteDatabase
{
public:
    explicit SqliteDatabase(QString path);

    /// Whether the file is there and is a database, or could be made one. A file that is only locked counts,
    /// and so does one on a disk that is full or may not be written to.
    bool open();

    /// Runs `use` on the statement for `sql`. Returns what went wrong.
    std::optional<Error> read(const char *sql, const SqliteConnection::Use &use);

    /// Runs `use` on the connection that writes, as one transaction. Its result is SQLITE_DONE or an error.
    /// Returns what went wrong; the file is then as it was.
    using Write = std::function<int(SqliteConnection &)>;
    std::optional<Error> write(const Write &use, QDeadlineTimer limit);

    [[nodiscard]] QString path() const { return m_path; }

private:
    using Run = std::function<int(SqliteConnection &)>;
    std::optional<Error> run(SqliteConnection &connection, QDeadlineTimer limit, const Run &use);
    std::optional<Error> runOnce(SqliteConnection &connection, QDeadlineTimer limit, const Run &use);
    int openWhenFree(SqliteConnection &connection, QDeadlineTimer limit);
    int openChecked();
    void setAsideIfDamaged();

    QString m_path;
    SqliteConnection m_reader;
    SqliteConnection m_writer;
    std::atomic<bool> m_isLockedOut = false;
};

} // namespace kavrin
