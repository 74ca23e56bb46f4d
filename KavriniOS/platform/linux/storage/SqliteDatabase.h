// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
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

    /// How many rows the last step that was SQLITE_DONE has changed.
    [[nodiscard]] int changes() const;

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

    /// Makes sure that the file is open and holds the table of defaults, waiting for another process that
    /// keeps it locked. SQLITE_OK or an error.
    int open(const QString &path, std::chrono::milliseconds lockedLimit);
    void close();
    /// Closes without bringing the log into the file.
    void closeAsItIs();

    /// The statement for `sql`, prepared once; `sql` must be a literal. Null and `result` on failure.
    sqlite3_stmt *prepare(const char *sql, int &result);

    [[nodiscard]] QString errorMessage() const;
    [[nodiscard]] sqlite3 *handle() const { return m_handle; }

    /// Whether this connection sees the file as it was when it was opened: a folder that may not be written
    /// to, or a full disk, leaves no room for what SQLite needs to see more.
    [[nodiscard]] bool isSnapshot() const { return m_lacking != SQLITE_OK; }
    /// Whether this connection cannot write, a snapshot or not.
    [[nodiscard]] bool isReadOnly() const;
    /// For a snapshot, what writing lacks: SQLITE_READONLY or SQLITE_FULL.
    [[nodiscard]] int lacking() const { return m_lacking; }

private:
    int openFile(const QString &path, int flags, std::chrono::milliseconds lockedLimit);
    int openAndProbe(const QString &path, int flags, std::chrono::milliseconds lockedLimit);
    int lackingFor(const QString &path, int result) const;
    int probe(const QString &path);
    [[nodiscard]] bool hasMoved() const;

    std::mutex m_mutex;
    sqlite3 *m_handle = nullptr;
    std::vector<std::pair<const char *, sqlite3_stmt *>> m_statements;
    int m_lacking = SQLITE_OK;
    QString m_openError;
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

    /// Runs `use` on the statement for `sql`. The result is that of `use`: SQLITE_DONE or SQLITE_ROW for
    /// success.
    using Use = std::function<int(SqliteStatement &)>;
    int read(const char *sql, const Use &use);
    int write(const char *sql, const Use &use);

    [[nodiscard]] QString path() const { return m_path; }

    /// Why the calling thread's last read or write failed; empty when it did not.
    static QString &lastError();

private:
    int run(SqliteConnection &connection, const char *sql, const Use &use);
    int runOnce(SqliteConnection &connection, const char *sql, const Use &use);
    int openWhenFree(SqliteConnection &connection);
    int openChecked();
    void setAsideIfDamaged();

    QString m_path;
    SqliteConnection m_reader;
    SqliteConnection m_writer;
    std::atomic<bool> m_isLockedOut = false;
};

} // namespace kavrin
