// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <sqlite3.h>

#include <chrono>
#include <optional>

namespace kavrin
{

/// How long to wait for other processes that are in the way.
constexpr std::chrono::milliseconds lockLimit(5000);

/// The format of a suite's file, as its user_version says it.
constexpr const char *formatVersion = "1";

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

/// Runs `sql` once no other process is in the way. SQLITE_OK or an error.
int executeWhenFree(sqlite3 *handle, const char *sql);

/// The first column of the first row; none with the reason in `result`.
std::optional<QByteArray> firstText(sqlite3 *handle, const char *sql, int &result);

/// Makes an empty file a suite's. SQLITE_OK or an error.
int layOut(sqlite3 *handle);

/// Held while a file is laid out or begun anew, so that of two processes the second finds it done. The kernel
/// takes it back from a process that is killed; a lock file would stay. It is the folder that is locked,
/// because the database must not be opened past SQLite.
class SetUpLock
{
public:
    explicit SetUpLock(const QString &path);
    ~SetUpLock();
    Q_DISABLE_COPY_MOVE(SetUpLock)

    [[nodiscard]] bool isHeld() const { return m_held; }

private:
    int m_folder;
    bool m_held;
};

} // namespace kavrin
