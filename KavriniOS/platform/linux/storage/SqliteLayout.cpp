// SPDX-License-Identifier: MIT
#include "platform/linux/storage/SqliteLayout.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace kavrin
{

namespace
{

// The pages are small because the heartbeat writes one every second while the user is logged in.
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

} // namespace

void waitUntil(sqlite3 *handle, QDeadlineTimer limit)
{
    sqlite3_busy_timeout(handle, int(limit.remainingTime()));
}

// Another process may write the file at the same moment, and SQLite does not wait for it everywhere.
int executeWhenFree(sqlite3 *handle, const char *sql, QDeadlineTimer limit)
{
    int result = SQLITE_OK;
    const auto attempt = [&] {
        waitUntil(handle, limit);
        result = sqlite3_exec(handle, sql, nullptr, nullptr, nullptr);
        const bool isBusy = (result & 0xff) == SQLITE_BUSY;
        if (isBusy) {
            sqlite3_exec(handle, "ROLLBACK", nullptr, nullptr, nullptr);
        }
        return !isBusy;
    };
    succeedsInTime(attempt, limit);
    return result;
}

std::optional<QByteArray> firstText(sqlite3 *handle, const char *sql, int &result)
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

int layOut(sqlite3 *handle, QDeadlineTimer limit)
{
    const int result = executeWhenFree(handle, layoutSql, limit);
    return result == SQLITE_OK ? executeWhenFree(handle, schemaSql, limit) : result;
}

SetUpLock::SetUpLock(const QString &path, QDeadlineTimer limit)
    : m_folder(::open(QFile::encodeName(QFileInfo(path).path()).constData(), O_RDONLY | O_CLOEXEC)),
      m_held(m_folder >= 0
             && succeedsInTime([this] { return ::flock(m_folder, LOCK_EX | LOCK_NB) == 0; }, limit))
{
}

SetUpLock::~SetUpLock()
{
    if (m_folder >= 0) {
        ::close(m_folder);
    }
}

} // namespace kavrin
