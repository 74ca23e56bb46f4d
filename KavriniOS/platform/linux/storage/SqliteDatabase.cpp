// SPDX-License-Identifier: MIT
#include "platform/linux/storage/SqliteDatabase.h"

#include "platform/Logging.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <QUrl>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <optional>

namespace kavrin
{

namespace
{

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds lockLimit = 5s;
constexpr const char *formatVersion = "1";

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

// Other programs write like this: what it fails on is a table without the key.
constexpr const char *tryKeySql =
    "INSERT INTO defaults (key, type, value) VALUES ('', '', 0) "
    "ON CONFLICT (key) DO UPDATE SET type = excluded.type, value = excluded.value";

constexpr const char *tryTableSql = R"(
BEGIN IMMEDIATE;
INSERT INTO defaults (key, type, value)
  SELECT column1, column1, 0
  FROM (VALUES ('bool'), ('int'), ('double'), ('string'), ('date'), ('data'), ('array'), ('dict')) WHERE true
  ON CONFLICT (key) DO UPDATE SET type = excluded.type, value = excluded.value;
)";

/// Tries what other processes may be in the way of until it succeeds or the limit has passed.
template <typename Attempt> bool succeedsInTime(Attempt attempt)
{
    const auto limit = std::chrono::steady_clock::now() + lockLimit;
    bool succeeded = attempt();
    while (!succeeded && std::chrono::steady_clock::now() < limit) {
        sqlite3_sleep(5);
        succeeded = attempt();
    }
    return succeeded;
}

// Other processes may have written the file at the same moment, and SQLite does not wait for them everywhere.
int executeWhenFree(sqlite3 *handle, const char *sql)
{
    int result = SQLITE_OK;
    succeedsInTime([&] {
        result = sqlite3_exec(handle, sql, nullptr, nullptr, nullptr);
        const bool isBusy = (result & 0xff) == SQLITE_BUSY;
        if (isBusy) {
            sqlite3_exec(handle, "ROLLBACK", nullptr, nullptr, nullptr);
        }
        return !isBusy;
    });
    return result;
}

/// The first column of the first row; none with the reason in `result`.
std::optional<QByteArray> text(sqlite3 *handle, const char *sql, int &result)
{
    sqlite3_stmt *statement = nullptr;
    result = sqlite3_prepare_v2(handle, sql, -1, &statement, nullptr);
    if (result == SQLITE_OK) {
        result = sqlite3_step(statement);
    }
    std::optional<QByteArray> value;
    if (result == SQLITE_ROW) {
        value = QByteArray(reinterpret_cast<const char *>(sqlite3_column_text(statement, 0)));
    }
    sqlite3_finalize(statement);
    return value;
}

bool isDamage(int result)
{
    // The statements are known to be good: what they fail on is a table that is not what it should be.
    constexpr std::array damage = {SQLITE_CORRUPT, SQLITE_NOTADB, SQLITE_ERROR, SQLITE_CONSTRAINT};
    // A short read is one from a log that was cut off.
    return result == SQLITE_IOERR_SHORT_READ
        || std::find(damage.begin(), damage.end(), result & 0xff) != damage.end();
}

/// Whether every page can be read and holds what it should, keys in their order included. A file that cannot
/// be looked at now, because it is locked say, is not known to be damaged.
bool pagesAreSound(sqlite3 *handle)
{
    int result = SQLITE_OK;
    const std::optional<QByteArray> verdict = text(handle, "PRAGMA integrity_check(1)", result);
    return verdict ? *verdict == "ok" : !isDamage(result);
}

/// Whether the file's header says what ours do where SQLite takes other values as well: a text encoding in
/// which no key would be found, and a format that may be read but not written.
bool headerIsSound(sqlite3 *handle, const QString &path)
{
    int result = SQLITE_OK;
    const std::optional<QByteArray> encoding = text(handle, "PRAGMA encoding", result);
    const bool mayBeWritten = sqlite3_db_readonly(handle, "main") == 0 || !QFileInfo(path).isWritable();
    return encoding ? *encoding == "UTF-8" && mayBeWritten : !isDamage(result);
}

/// Whether the table takes a value of every type, tried and taken back.
bool tableIsSound(sqlite3 *handle)
{
    const int result = executeWhenFree(handle, tryTableSql);
    sqlite3_exec(handle, "ROLLBACK", nullptr, nullptr, nullptr);
    return !isDamage(result);
}

/// Whether the table has one row a key; asked without writing.
bool keyIsSound(sqlite3 *handle)
{
    sqlite3_stmt *statement = nullptr;
    const int result = sqlite3_prepare_v2(handle, tryKeySql, -1, &statement, nullptr);
    sqlite3_finalize(statement);
    return !isDamage(result);
}

/// Only ever a new one: a folder that is there has the mode that somebody wanted for it.
void makePrivateFolder(const QString &path)
{
    const bool isNew = !QFileInfo::exists(path) && QDir().mkpath(path);
    if (isNew) {
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
}

// Made by hand because SQLite would let the process's umask choose the mode; its other files take over the
// database's. Only ever a new file: closing a descriptor of a file drops all of the process's locks on it,
// those that SQLite holds among them.
void makePrivateFile(const QString &path)
{
    makePrivateFolder(QFileInfo(path).path());
    const int file = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file >= 0) {
        ::close(file);
    }
}

/// Held while a file is laid out or begun anew, so that of two processes the second finds it done. The kernel
/// takes it back from a process that is killed; a lock file would stay. It is the folder that is locked,
/// because the database must not be opened past SQLite.
class SetUpLock
{
public:
    explicit SetUpLock(const QString &path)
        : m_folder(::open(QFile::encodeName(QFileInfo(path).path()).constData(), O_RDONLY | O_CLOEXEC)),
          m_held(m_folder >= 0
                 && succeedsInTime([this] { return ::flock(m_folder, LOCK_EX | LOCK_NB) == 0; }))
    {
    }
    ~SetUpLock()
    {
        if (m_folder >= 0) {
            ::close(m_folder);
        }
    }
    Q_DISABLE_COPY_MOVE(SetUpLock)

    [[nodiscard]] bool isHeld() const { return m_held; }

private:
    int m_folder;
    bool m_held;
};

/// Every lock that SQLite has on a file with a log, taken through SQLite's own descriptor: nobody reads,
/// writes or tidies up meanwhile.
class WholeFileLock
{
public:
    explicit WholeFileLock(sqlite3_file *file) : m_file(file)
    {
        m_held = io().xLock(m_file, SQLITE_LOCK_SHARED) == SQLITE_OK
            && io().xShmMap(m_file, 0, indexSize, 1, &m_index) == SQLITE_OK
            && succeedsInTime([this] { return changeLocks(SQLITE_SHM_LOCK) == SQLITE_OK; });
    }
    ~WholeFileLock()
    {
        if (m_held) {
            changeLocks(SQLITE_SHM_UNLOCK);
        }
        io().xShmUnmap(m_file, 0);
        io().xUnlock(m_file, SQLITE_LOCK_NONE);
    }
    Q_DISABLE_COPY_MOVE(WholeFileLock)

    [[nodiscard]] bool isHeld() const { return m_held; }

    /// Has everybody make the index of the log anew, which processes that have the file open share.
    void clearIndex() const
    {
        std::memset(const_cast<void *>(m_index), 0, indexHeaderSize);
        io().xShmBarrier(m_file);
    }

private:
    static constexpr int indexSize = 32 * 1024;
    static constexpr std::size_t indexHeaderSize = 96;

    [[nodiscard]] const sqlite3_io_methods &io() const { return *m_file->pMethods; }
    int changeLocks(int change) const
    {
        return io().xShmLock(m_file, 0, SQLITE_SHM_NLOCK, change | SQLITE_SHM_EXCLUSIVE);
    }

    sqlite3_file *m_file;
    void volatile *m_index = nullptr;
    bool m_held = false;
};

QString logOf(const QString &path)
{
    return path + QStringLiteral("-wal");
}

/// The name of a copy beside the file, which says since when.
QString nameAside(const QString &path)
{
    const QString stamp =
        QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmss.zzz'Z'"));
    return path + QStringLiteral(".damaged-") + stamp;
}

/// Copies the database as it is, its log included. The database itself is read by SQLite's descriptor, for
/// the reason that makePrivateFile() gives.
bool copyAside(sqlite3_file *file, const QString &path, const QString &aside)
{
    sqlite3_int64 size = 0;
    file->pMethods->xFileSize(file, &size);
    QByteArray content(qsizetype(size), '\0');
    if (file->pMethods->xRead(file, content.data(), int(size), 0) != SQLITE_OK) {
        return false;
    }
    QFile copy(aside);
    const QString log = logOf(path);
    return copy.open(QIODevice::WriteOnly, QFile::ReadOwner | QFile::WriteOwner)
        && copy.write(content) == content.size() && copy.flush()
        && (QFileInfo(log).size() == 0 || QFile::copy(log, logOf(aside)));
}

/// For a copy that is not whole or not needed: a disk that is full, or a file that may not be written to,
/// stays so, and every attempt would leave another copy.
void removeAside(const QString &aside)
{
    QFile::remove(aside);
    QFile::remove(logOf(aside));
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
        sqlite3_extended_result_codes(handle, 1);
        sqlite3_busy_timeout(handle, int(lockLimit.count()));
        sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        use(handle);
    }
    sqlite3_close_v2(handle);
}

bool isDamaged(const QString &path)
{
    bool damaged = false;
    withPlainHandle(path, [&](sqlite3 *handle) {
        damaged = !(pagesAreSound(handle) && tableIsSound(handle) && headerIsSound(handle, path));
    });
    return damaged;
}

/// What a file holds that was just laid out.
QByteArray freshContent()
{
    sqlite3 *handle = nullptr;
    QByteArray content;
    sqlite3_int64 size = 0;
    if (sqlite3_open(":memory:", &handle) == SQLITE_OK && layOut(handle) == SQLITE_OK) {
        unsigned char *bytes = sqlite3_serialize(handle, "main", &size, 0);
        content = QByteArray(reinterpret_cast<const char *>(bytes), qsizetype(size));
        sqlite3_free(bytes);
        // What has no file has no log either: these two bytes of the header say that this one does.
        content.replace(18, 2, QByteArrayLiteral("\x02\x02"));
    }
    sqlite3_close(handle);
    return content;
}

/// Sets a damaged file aside and makes it a fresh one in place: processes that have it open go on with that,
/// where renaming it away would leave them writing to a file that nobody reads.
void beginAnew(const QString &path)
{
    const QByteArray content = freshContent();
    withPlainHandle(path, [&](sqlite3 *handle) {
        sqlite3_file *file = nullptr;
        sqlite3_file_control(handle, "main", SQLITE_FCNTL_FILE_POINTER, static_cast<void *>(&file));
        const WholeFileLock lock(file);
        if (!lock.isHeld() || content.isEmpty()) {
            return;
        }
        const QString aside = nameAside(path);
        if (!copyAside(file, path, aside)
            || file->pMethods->xWrite(file, content.constData(), int(content.size()), 0) != SQLITE_OK) {
            removeAside(aside);
            return;
        }
        qCWarning(Logging::store) << "Damaged, kept as" << aside;
        file->pMethods->xTruncate(file, content.size());
        ::truncate(QFile::encodeName(logOf(path)).constData(), 0);
        lock.clearIndex();
    });
}

/// Whether nothing can be written below the folder at present, whoever asks.
bool diskIsFullOrReadOnly(QDir folder)
{
    while (!folder.exists() && !folder.isRoot()) {
        folder.setPath(QFileInfo(folder.path()).path());
    }
    const QStorageInfo disk(folder);
    return disk.isReadOnly() || disk.bytesAvailable() <= 0;
}

/// Whether what failed may well succeed later, with nothing done to the file itself.
bool isPassing(int result, const QString &path)
{
    constexpr std::array passing = {SQLITE_BUSY, SQLITE_FULL, SQLITE_IOERR, SQLITE_READONLY};
    return std::find(passing.begin(), passing.end(), result & 0xff) != passing.end()
        || (result != SQLITE_MISMATCH && diskIsFullOrReadOnly(QFileInfo(path).dir()));
}

struct Explanation {
    int result;
    const char *text;
};

constexpr std::array explanations = {
    Explanation{SQLITE_FULL, "the disk is full. Make room on it and try again."},
    Explanation{SQLITE_READONLY,
                "the file or its folder cannot be written to. Make both writable and try again."},
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

/// What happened and what to do, for a person; SQLite's own words where there are none of ours.
QString explain(int result, const QString &message)
{
    const auto *found = std::find_if(explanations.begin(), explanations.end(), [&](const Explanation &known) {
        return known.result == (result & 0xff);
    });
    return found == explanations.end() ? message : QString::fromLatin1(found->text);
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

int SqliteConnection::open(const QString &path, std::chrono::milliseconds lockedLimit)
{
    if (m_handle != nullptr && hasMoved()) {
        // Closing would tidy up by name, but the log of that name belongs to the new file.
        closeAsItIs();
    }
    if (m_handle != nullptr) {
        return SQLITE_OK;
    }
    ++m_openings;
    int result = openAndProbe(path, SQLITE_OPEN_READWRITE, lockedLimit);
    m_lacking = lackingFor(path, result);
    if (isSnapshot()) {
        result = openAndProbe(path, SQLITE_OPEN_READONLY, lockedLimit);
    }
    if (result == SQLITE_OK) {
        sqlite3_busy_timeout(m_handle, int(lockLimit.count()));
        sqlite3_exec(m_handle, "PRAGMA synchronous = NORMAL", nullptr, nullptr, nullptr);
    } else {
        m_openError = errorMessage();
        closeAsItIs();
    }
    return result;
}

/// What SQLite lacks for the files that it needs beside the database, as the result of a write; or SQLITE_OK.
int SqliteConnection::lackingFor(const QString &path, int result) const
{
    if (result == SQLITE_IOERR_SHMSIZE) {
        return SQLITE_FULL;
    }
    const bool isRefused = (result & 0xff) == SQLITE_CANTOPEN || (result & 0xff) == SQLITE_READONLY;
    return isRefused && !QFileInfo(QFileInfo(path).path()).isWritable() ? SQLITE_READONLY : SQLITE_OK;
}

int SqliteConnection::openAndProbe(const QString &path, int flags, std::chrono::milliseconds lockedLimit)
{
    const int result = openFile(path, flags, lockedLimit);
    return result == SQLITE_OK ? probe(path) : result;
}

int SqliteConnection::openFile(const QString &path, int flags, std::chrono::milliseconds lockedLimit)
{
    static std::mutex making; // no other thread may open the file between its making and its closing
    const std::scoped_lock lock(making);
    close();
    QByteArray uri = "file:" + QUrl::toPercentEncoding(path, "/");
    if (flags == SQLITE_OPEN_READONLY) {
        uri += "?immutable=1";
    } else {
        makePrivateFile(path);
    }
    const int result =
        sqlite3_open_v2(uri.constData(), &m_handle, flags | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX, nullptr);
    if (result == SQLITE_OK) {
        sqlite3_extended_result_codes(m_handle, 1);
        sqlite3_busy_timeout(m_handle, int(lockedLimit.count()));
    }
    return result;
}

/// Lays out a fresh file; refuses one of a format that is not known.
int SqliteConnection::probe(const QString &path)
{
    int result = SQLITE_OK;
    std::optional<QByteArray> version = text(m_handle, "PRAGMA user_version", result);
    if (version == "0") {
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
    text(m_handle, "SELECT count(value) FROM defaults WHERE key = '' AND type = ''", result);
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

QString SqliteConnection::errorMessage() const
{
    return m_handle == nullptr ? m_openError : QString::fromUtf8(sqlite3_errmsg(m_handle));
}

bool SqliteConnection::isReadOnly() const
{
    return isSnapshot() || (m_handle != nullptr && sqlite3_db_readonly(m_handle, "main") == 1);
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
    return result == SQLITE_OK || isPassing(result, m_path);
}

/// Opens the connection where it is not open. When another process keeps the whole file locked, only the
/// first attempt waits for it: the application would stand still at every key otherwise.
int SqliteDatabase::openWhenFree(SqliteConnection &connection)
{
    const int result = connection.open(m_path, m_isLockedOut ? 0ms : lockLimit);
    m_isLockedOut = (result & 0xff) == SQLITE_BUSY;
    return result;
}

/// The first look at a file is a thorough one: damage that a read or a write does not happen to meet would
/// otherwise spread.
int SqliteDatabase::openChecked()
{
    const std::scoped_lock lock(m_reader.mutex());
    const int result = openWhenFree(m_reader);
    return result == SQLITE_OK && !pagesAreSound(m_reader.handle()) ? SQLITE_CORRUPT : result;
}

int SqliteDatabase::read(const char *sql, const Use &use)
{
    return run(m_reader, sql, use);
}

std::optional<quint64> SqliteDatabase::revision()
{
    // SQLite counts what others have changed since this connection was opened.
    std::optional<quint64> revision;
    read("PRAGMA data_version", [&](SqliteStatement &statement) {
        const int result = statement.step();
        if (result == SQLITE_ROW) {
            revision = quint64(m_reader.openings()) << 32U | quint32(statement.integer(0));
        }
        return result;
    });
    return revision;
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
    int result = openWhenFree(connection);
    if (result == SQLITE_OK) {
        sqlite3_stmt *prepared = connection.prepare(sql, result);
        if (prepared != nullptr) {
            SqliteStatement statement(prepared);
            result = use(statement);
        }
    }
    if (connection.isSnapshot() && (result & 0xff) == SQLITE_READONLY) {
        result = connection.lacking();
    }
    if (result != SQLITE_ROW && result != SQLITE_DONE) {
        lastError() = QStringLiteral("%1: %2").arg(m_path, explain(result, connection.errorMessage()));
    }
    if (connection.isReadOnly()) {
        // The next time the file may have changed, or be writable. SQLite shares the log's index among the
        // connections of a process, so one that stayed open would keep the others from writing.
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
    if (setUp.isHeld() && isDamaged(m_path)) {
        beginAnew(m_path);
    }
}

} // namespace kavrin
