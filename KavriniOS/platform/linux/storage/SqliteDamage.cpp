// SPDX-License-Identifier: MIT
#include "platform/linux/storage/SqliteDamage.h"

#include "platform/Logging.h"
#include "platform/linux/storage/SqliteLayout.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <optional>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

// Other programs write like this. It fails on a table without the key.
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

/// Whether the table accepts a value of every type. Tries that and rolls it back.
bool tableIsSound(sqlite3 *handle, QDeadlineTimer limit)
{
    const int result = executeWhenFree(handle, tryTableSql, limit);
    sqlite3_exec(handle, "ROLLBACK", nullptr, nullptr, nullptr);
    return !isDamage(result);
}

/// Holds every lock that SQLite has on a file with a log, through SQLite's own descriptor. Nobody reads,
/// writes or cleans up during that.
class WholeFileLock
{
public:
    WholeFileLock(sqlite3_file *file, QDeadlineTimer limit) : m_file(file)
    {
        m_held = io().xLock(m_file, SQLITE_LOCK_SHARED) == SQLITE_OK
            && io().xShmMap(m_file, 0, indexSize, 1, &m_index) == SQLITE_OK
            && succeedsInTime([this] { return changeLocks(SQLITE_SHM_LOCK) == SQLITE_OK; }, limit);
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

    /// Makes all processes build the index of the log again. Processes that have the file open share that
    /// index.
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
    return path + u"-wal"_s;
}

/// The name of a copy beside the file, with the time of the copy.
QString nameAside(const QString &path)
{
    const QString stamp = QDateTime::currentDateTimeUtc().toString(u"yyyyMMdd'T'HHmmss.zzz'Z'"_s);
    return path + u".damaged-"_s + stamp;
}

/// A file that SQLite has open: SQLITE_FCNTL_FILE_POINTER is the database, SQLITE_FCNTL_JOURNAL_POINTER the
/// log.
sqlite3_file *fileOf(sqlite3 *handle, int which)
{
    sqlite3_file *file = nullptr;
    sqlite3_file_control(handle, "main", which, static_cast<void *>(&file));
    return file;
}

/// Reads through SQLite's descriptor: closing a descriptor of our own would drop all of the process's locks
/// on the file. None if the file cannot be read.
std::optional<QByteArray> contentOf(sqlite3_file *file)
{
    sqlite3_int64 size = 0;
    if (file == nullptr || file->pMethods == nullptr || file->pMethods->xFileSize(file, &size) != SQLITE_OK) {
        return std::nullopt;
    }
    QByteArray content(qsizetype(size), '\0');
    return file->pMethods->xRead(file, content.data(), int(size), 0) == SQLITE_OK ? std::optional(content)
                                                                                  : std::nullopt;
}

/// Writes a file that only the user may read. Leaves an empty one if it fails.
bool writePrivately(const QString &path, const QByteArray &content)
{
    QFile file(path);
    const bool isOpen = file.open(QIODevice::WriteOnly, QFile::ReadOwner | QFile::WriteOwner);
    const bool isWritten = isOpen && file.write(content) == content.size() && file.flush();
    if (isOpen && !isWritten) {
        file.resize(0);
    }
    return isWritten;
}

/// Copies the database and its log unchanged.
bool copyAside(sqlite3_file *file, const QString &path, const QString &aside)
{
    const std::optional<QByteArray> content = contentOf(file);
    const QString log = logOf(path);
    return content && writePrivately(aside, *content)
        && (QFileInfo(log).size() == 0 || QFile::copy(log, logOf(aside)));
}

/// Removes a copy that is not complete or not needed. A full disk stays full, and so does a file that may not
/// be written to: every attempt would leave another copy.
void removeAside(const QString &aside)
{
    QFile::remove(aside);
    QFile::remove(logOf(aside));
}

/// Calls `use` with a handle on the file that does not change the log.
template <typename Use> void withPlainHandle(const QString &path, QDeadlineTimer limit, Use use)
{
    sqlite3 *handle = nullptr;
    if (sqlite3_open_v2(QFile::encodeName(path).constData(), &handle, SQLITE_OPEN_READWRITE, nullptr)
        == SQLITE_OK) {
        sqlite3_extended_result_codes(handle, 1);
        waitUntil(handle, limit);
        sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        use(handle);
    }
    sqlite3_close_v2(handle);
}

bool isDamaged(const QString &path, QDeadlineTimer limit)
{
    bool damaged = false;
    withPlainHandle(path, limit, [&](sqlite3 *handle) {
        damaged = !(pagesAreSound(handle) && tableIsSound(handle, limit) && headerIsSound(handle, path));
    });
    return damaged;
}

/// The content of a file that has just been laid out.
QByteArray freshContent()
{
    sqlite3 *handle = nullptr;
    QByteArray content;
    sqlite3_int64 size = 0;
    if (sqlite3_open(":memory:", &handle) == SQLITE_OK && layOut(handle, QDeadlineTimer()) == SQLITE_OK) {
        unsigned char *bytes = sqlite3_serialize(handle, "main", &size, 0);
        content = QByteArray(reinterpret_cast<const char *>(bytes), qsizetype(size));
        sqlite3_free(bytes);
        // A database in memory has no log. These two bytes of the header say that this one does.
        content.replace(18, 2, QByteArrayLiteral("\x02\x02"));
    }
    sqlite3_close(handle);
    return content;
}

/// Works in place, for the reason that setAsideIfDamaged() gives. SQLite's own reset
/// (SQLITE_DBCONFIG_RESET_DATABASE and VACUUM) suffices only if nobody else has the file open. It fails on a
/// log that was cut short, and on a missing header, while other processes have the file open. Those cases
/// need this way, so there is no other.
/// Returns the path of the copy, if it was made.
std::optional<QString> beginAnew(const QString &path, QDeadlineTimer limit)
{
    const QByteArray content = freshContent();
    std::optional<QString> copied;
    withPlainHandle(path, limit, [&](sqlite3 *handle) {
        sqlite3_file *file = fileOf(handle, SQLITE_FCNTL_FILE_POINTER);
        const WholeFileLock lock(file, limit);
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
        copied = aside;
    });
    return copied;
}

/// Whether the log ends before the place where its index says that it does.
bool logIsShort(const QString &path, QDeadlineTimer limit)
{
    int result = SQLITE_OK;
    withPlainHandle(path, limit,
                    [&](sqlite3 *handle) { firstText(handle, "SELECT count(value) FROM defaults", result); });
    return result == SQLITE_IOERR_SHORT_READ;
}

/// Another process that still has a removed log open puts it back when it next uses the file; Kavrin does
/// that several times a second. False if there was no time to wait for it.
bool awaitLog(const QString &path, QDeadlineTimer limit)
{
    const QDeadlineTimer longEnough(std::chrono::milliseconds(1000));
    return succeedsInTime([&] { return !logIsShort(path, limit); }, std::min(longEnough, limit))
        || longEnough < limit;
}

/// Makes the index tell what is in the log that is there. It still tells of a log that was removed or cut
/// short.
void rebuildIndex(const QString &path, QDeadlineTimer limit)
{
    withPlainHandle(path, limit, [limit](sqlite3 *handle) {
        const WholeFileLock lock(fileOf(handle, SQLITE_FCNTL_FILE_POINTER), limit);
        if (lock.isHeld()) {
            lock.clearIndex();
        }
    });
}

} // namespace

bool isDamage(int result)
{
    // The statements are known to be good, so if they fail on a table, the table is wrong.
    constexpr std::array damage = {SQLITE_CORRUPT, SQLITE_NOTADB, SQLITE_ERROR, SQLITE_CONSTRAINT};
    // A short read comes from a log that was cut off.
    return result == SQLITE_IOERR_SHORT_READ
        || std::find(damage.begin(), damage.end(), result & 0xff) != damage.end();
}

bool pagesAreSound(sqlite3 *handle)
{
    int result = SQLITE_OK;
    const std::optional<QByteArray> verdict = firstText(handle, "PRAGMA integrity_check(1)", result);
    return verdict ? *verdict == "ok" : !isDamage(result);
}

bool headerIsSound(sqlite3 *handle, const QString &path)
{
    int result = SQLITE_OK;
    const std::optional<QByteArray> encoding = firstText(handle, "PRAGMA encoding", result);
    const bool mayBeWritten = sqlite3_db_readonly(handle, "main") == 0 || !QFileInfo(path).isWritable();
    return encoding ? *encoding == "UTF-8" && mayBeWritten : !isDamage(result);
}

bool keyIsSound(sqlite3 *handle)
{
    sqlite3_stmt *statement = nullptr;
    const int result = sqlite3_prepare_v2(handle, tryKeySql, -1, &statement, nullptr);
    sqlite3_finalize(statement);
    return !isDamage(result);
}

bool putLogBack(sqlite3 *reader, const QString &path)
{
    bool isInPlace = false;
    const QDeadlineTimer now(0);
    withPlainHandle(path, now, [&](sqlite3 *handle) {
        const WholeFileLock lock(fileOf(handle, SQLITE_FCNTL_FILE_POINTER), now);
        if (!lock.isHeld()) {
            return;
        }
        const bool isReplaced = QFileInfo(logOf(path)).size() > 0;
        const std::optional<QByteArray> log = contentOf(fileOf(reader, SQLITE_FCNTL_JOURNAL_POINTER));
        isInPlace = isReplaced || !log || writePrivately(logOf(path), *log);
    });
    return isInPlace;
}

std::optional<QString> setAsideIfDamaged(const QString &path, QDeadlineTimer limit)
{
    const SetUpLock setUp(path, limit);
    if (!setUp.isHeld() || !isDamaged(path, limit) || !awaitLog(path, limit)) {
        return std::nullopt;
    }
    rebuildIndex(path, limit);
    return isDamaged(path, limit) ? beginAnew(path, limit) : std::nullopt;
}

} // namespace kavrin
