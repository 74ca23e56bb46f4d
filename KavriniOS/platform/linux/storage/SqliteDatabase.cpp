// SPDX-License-Identifier: MIT
#include "platform/linux/storage/SqliteDatabase.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QUrl>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>

namespace kavrin
{

namespace
{

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds lockLimit = 5s;
constexpr int formatVersion = 1;

// Small pages: the heartbeat writes a page a second for as long as the user is logged in.
constexpr const char *layoutSql = "PRAGMA page_size = 512; PRAGMA journal_mode = WAL;";

constexpr const char *schemaSql = R"(
BEGIN IMMEDIATE;
CREATE TABLE IF NOT EXISTS defaults (
  key   TEXT PRIMARY KEY NOT NULL,
  type  TEXT NOT NULL CHECK (type IN ('bool','int','double','string','date','data','array','dict')),
  value ANY NOT NULL
) STRICT, WITHOUT ROWID;
PRAGMA user_version = 1;
COMMIT;
)";

constexpr const char *tryTableSql = R"(
BEGIN IMMEDIATE;
INSERT INTO defaults (key, type, value)
  SELECT column1, column1, 0
  FROM (VALUES ('bool'), ('int'), ('double'), ('string'), ('date'), ('data'), ('array'), ('dict')) WHERE true
  ON CONFLICT (key) DO UPDATE SET type = excluded.type, value = excluded.value;
)";

// Other processes may have written the file at the same moment, and SQLite does not wait for them everywhere.
int executeWhenFree(sqlite3 *handle, const char *sql)
{
    const auto limit = std::chrono::steady_clock::now() + lockLimit;
    int result = sqlite3_exec(handle, sql, nullptr, nullptr, nullptr);
    while (result == SQLITE_BUSY && std::chrono::steady_clock::now() < limit) {
        sqlite3_exec(handle, "ROLLBACK", nullptr, nullptr, nullptr);
        sqlite3_sleep(5);
        result = sqlite3_exec(handle, sql, nullptr, nullptr, nullptr);
    }
    return result;
}

/// The first column of the first row as a number; none with the reason in `result`.
std::optional<qint64> number(sqlite3 *handle, const char *sql, int &result)
{
    sqlite3_stmt *statement = nullptr;
    result = sqlite3_prepare_v2(handle, sql, -1, &statement, nullptr);
    if (result == SQLITE_OK) {
        result = sqlite3_step(statement);
    }
    std::optional<qint64> value;
    if (result == SQLITE_ROW) {
        value = sqlite3_column_int64(statement, 0);
    }
    sqlite3_finalize(statement);
    return value;
}

bool isDamage(int result)
{
    // The statements are known to be good: what they fail on is a table that is not what it should be.
    constexpr std::array damage = {SQLITE_CORRUPT, SQLITE_NOTADB, SQLITE_ERROR, SQLITE_CONSTRAINT};
    return std::find(damage.begin(), damage.end(), result & 0xff) != damage.end();
}

/// Whether every page can be read and holds what it should. A file that cannot be looked at now, because it
/// is locked say, is not known to be damaged.
bool pagesAreSound(sqlite3 *handle)
{
    sqlite3_stmt *statement = nullptr;
    int result = sqlite3_prepare_v2(handle, "PRAGMA quick_check(1)", -1, &statement, nullptr);
    bool sound = !isDamage(result);
    if (result == SQLITE_OK) {
        result = sqlite3_step(statement);
        const auto *verdict = reinterpret_cast<const char *>(sqlite3_column_text(statement, 0));
        sound = result == SQLITE_ROW ? qstrcmp(verdict, "ok") == 0 : !isDamage(result);
    }
    sqlite3_finalize(statement);
    return sound;
}

/// Whether the table takes a value of every type, tried and taken back.
bool tableIsSound(sqlite3 *handle)
{
    const int result = executeWhenFree(handle, tryTableSql);
    sqlite3_exec(handle, "ROLLBACK", nullptr, nullptr, nullptr);
    return !isDamage(result);
}

// Made by hand because SQLite would let the process's umask choose the mode; its other files take over the
// database's. Only ever a new file: closing a descriptor of a file drops all of the process's locks on it,
// those that SQLite holds among them.
void makePrivateFile(const QString &path)
{
    QDir().mkpath(QFileInfo(path).path());
    const int file = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file >= 0) {
        ::close(file);
    }
}

/// Held while a file is laid out or begun anew, so that of two processes the second finds it done.
class SetUpLock
{
public:
    explicit SetUpLock(const QString &path) : m_file(path + QStringLiteral(".lock"))
    {
        m_held = m_file.tryLock(int(lockLimit.count()));
    }
    [[nodiscard]] bool isHeld() const { return m_held; }

private:
    QLockFile m_file;
    bool m_held = false;
};

/// Copies the database as it is, its log included, to files beside it whose names say since when.
bool copyAside(const QString &path)
{
    const QString stamp =
        QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmss.zzz'Z'"));
    const QString aside = path + QStringLiteral(".damaged-") + stamp;
    const QString log = path + QStringLiteral("-wal");
    if (QFileInfo(log).size() > 0 && !QFile::copy(log, aside + QStringLiteral("-wal"))) {
        return false;
    }
    return QFile::copy(path, aside);
}

int layOut(sqlite3 *handle)
{
    const int result = executeWhenFree(handle, layoutSql);
    return result == SQLITE_OK ? executeWhenFree(handle, schemaSql) : result;
}

/// Calls `use` with a handle on the file that leaves the log as it is.
template <typename Use> void withPlainHandle(const QString &path, Use use)
{
    sqlite3 *handle = nullptr;
    if (sqlite3_open_v2(QFile::encodeName(path).constData(), &handle, SQLITE_OPEN_READWRITE, nullptr)
        == SQLITE_OK) {
        sqlite3_busy_timeout(handle, int(lockLimit.count()));
        sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        use(handle);
    }
    sqlite3_close_v2(handle);
}

bool isDamaged(const QString &path)
{
    bool damaged = false;
    withPlainHandle(path,
                    [&](sqlite3 *handle) { damaged = !(pagesAreSound(handle) && tableIsSound(handle)); });
    return damaged;
}

/// Empties a damaged file in place, under SQLite's own locks: processes that have it open go on with the
/// fresh one, where renaming it away would leave them writing to a file that nobody reads.
void beginAnew(const QString &path)
{
    withPlainHandle(path, [](sqlite3 *handle) {
        sqlite3_table_column_metadata(handle, nullptr, "defaults", nullptr, nullptr, nullptr, nullptr,
                                      nullptr, nullptr);
        sqlite3_db_config(handle, SQLITE_DBCONFIG_RESET_DATABASE, 1, 0);
        const int result = executeWhenFree(handle, "VACUUM");
        sqlite3_db_config(handle, SQLITE_DBCONFIG_RESET_DATABASE, 0, 0);
        if (result == SQLITE_OK) {
            layOut(handle);
        }
    });
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

int SqliteConnection::open(const QString &path)
{
    if (m_handle != nullptr && hasMoved()) {
        // Closing would tidy up by name, but the log of that name belongs to the new file.
        closeAsItIs();
    }
    if (m_handle != nullptr) {
        return SQLITE_OK;
    }
    int result = openFile(path, SQLITE_OPEN_READWRITE);
    if (result == SQLITE_OK) {
        result = probe(path);
    }
    const bool hasNoRoom = result == SQLITE_CANTOPEN || (result & 0xff) == SQLITE_READONLY;
    if (hasNoRoom && !QFileInfo(QFileInfo(path).path()).isWritable()) {
        result = openFile(path, SQLITE_OPEN_READONLY);
        result = result == SQLITE_OK ? probe(path) : result;
    }
    if (result != SQLITE_OK) {
        m_openError = result == SQLITE_MISMATCH
            ? QStringLiteral("the file was made by a newer version of Kavrin")
            : errorMessage();
        close();
    }
    return result;
}

int SqliteConnection::openFile(const QString &path, int flags)
{
    static std::mutex making; // no other thread may open the file between its making and its closing
    const std::scoped_lock lock(making);
    close();
    QByteArray uri = "file:" + QUrl::toPercentEncoding(path, "/");
    m_isSnapshot = flags == SQLITE_OPEN_READONLY;
    if (m_isSnapshot) {
        uri += "?immutable=1";
    } else {
        makePrivateFile(path);
    }
    const int result =
        sqlite3_open_v2(uri.constData(), &m_handle, flags | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX, nullptr);
    if (result == SQLITE_OK) {
        sqlite3_busy_timeout(m_handle, int(lockLimit.count()));
        sqlite3_exec(m_handle, "PRAGMA synchronous = NORMAL", nullptr, nullptr, nullptr);
    }
    return result;
}

/// Lays out a fresh file; refuses one of a format that is not known.
int SqliteConnection::probe(const QString &path)
{
    int result = SQLITE_OK;
    std::optional<qint64> version = number(m_handle, "PRAGMA user_version", result);
    if (version == 0) {
        const SetUpLock lock(path);
        result = layOut(m_handle);
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
    // Reading the table, as opposed to the header, is what needs SQLite's other files.
    number(m_handle, "SELECT count(value) FROM defaults WHERE key = '' AND type = ''", result);
    return result == SQLITE_ROW ? SQLITE_OK : result;
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

QString SqliteConnection::errorMessage() const
{
    return m_handle == nullptr ? m_openError : QString::fromUtf8(sqlite3_errmsg(m_handle));
}

bool SqliteConnection::hasMoved() const
{
    int moved = 0;
    sqlite3_file_control(m_handle, nullptr, SQLITE_FCNTL_HAS_MOVED, &moved);
    return moved != 0;
}

SqliteDatabase::SqliteDatabase(QString path) : m_path(std::move(path)) { }

QString &SqliteDatabase::lastError()
{
    static thread_local QString error;
    return error;
}

bool SqliteDatabase::open()
{
    int result = openChecked();
    if (isDamage(result)) {
        setAsideIfDamaged();
        result = openChecked();
    }
    return result == SQLITE_OK || result == SQLITE_BUSY;
}

/// The first look at a file is a thorough one: damage that a read or a write does not happen to meet would
/// otherwise spread.
int SqliteDatabase::openChecked()
{
    const std::scoped_lock lock(m_reader.mutex());
    const int result = m_reader.open(m_path);
    return result == SQLITE_OK && !pagesAreSound(m_reader.handle()) ? SQLITE_CORRUPT : result;
}

int SqliteDatabase::read(const char *sql, const Use &use)
{
    return run(m_reader, sql, use);
}

int SqliteDatabase::write(const char *sql, const Use &use)
{
    return run(m_writer, sql, use);
}

int SqliteDatabase::run(SqliteConnection &connection, const char *sql, const Use &use)
{
    const int result = runOnce(connection, sql, use);
    if (!isDamage(result)) {
        return result;
    }
    setAsideIfDamaged();
    return runOnce(connection, sql, use);
}

int SqliteDatabase::runOnce(SqliteConnection &connection, const char *sql, const Use &use)
{
    const std::scoped_lock lock(connection.mutex());
    lastError().clear();
    int result = connection.open(m_path);
    if (result == SQLITE_OK) {
        sqlite3_stmt *prepared = connection.prepare(sql, result);
        if (prepared != nullptr) {
            SqliteStatement statement(prepared);
            result = use(statement);
        }
    }
    if (result != SQLITE_ROW && result != SQLITE_DONE) {
        lastError() = QStringLiteral("%1: %2").arg(m_path, connection.errorMessage());
    }
    if (connection.isSnapshot() || result == SQLITE_READONLY) {
        // The next time the file may have changed, or be writable.
        connection.close();
    }
    return result;
}

void SqliteDatabase::setAsideIfDamaged()
{
    const std::scoped_lock lock(m_reader.mutex(), m_writer.mutex());
    m_reader.closeAsItIs();
    m_writer.closeAsItIs();
    const SetUpLock setUp(m_path);
    if (setUp.isHeld() && isDamaged(m_path) && copyAside(m_path)) {
        beginAnew(m_path);
    }
}

} // namespace kavrin
