// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <sqlite3.h>

#include <chrono>
#include <optional>

namespace kavrin
{

/// How long to wait for other processes.
constexpr std::chrono::milliseconds lockLimit(5000);

/// The format of a suite's file, as in its user_version.
constexpr const char *formatVersion = "1";

/// Repeats an attempt that other processes may block, until it succeeds or the limit has passed.
template <typename Attempt>
bool succeedsInTime(Attempt attempt, std::chrono::milliseconds patience = lockLimit)
{
    const auto limit = std::chrono::steady_clock::now() + patience;
    bool succeeded = attempt();
    while (!succeeded && std::chrono::steady_clock::now() < limit) {
        sqlite3_sleep(5);
        succeeded = attempt();
    }
    return succeeded;
}

/// Runs `sql` when no other process blocks it. Returns SQLITE_OK or an error.
int executeWhenFree(sqlite3 *handle, const char *sql);

/// The first column of the first row. If there is none, `result` has the reason.
std::optional<QByteArray> firstText(sqlite3 *handle, const char *sql, int &result);

/// Lays out an empty file as a suite. Returns SQLITE_OK or an error.
int layOut(sqlite3 *handle);

/// A process holds this lock while it lays out a new file or a damaged one, so that a second process finds it
/// done. The kernel takes the lock back from a process that is killed; a lock file would stay. The lock is on
/// the folder, because only SQLite may open the database.
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
