// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QString>

#include <sqlite3.h>

#include <optional>

namespace kavrin
{

/// The format of a suite's file, as in its user_version.
constexpr const char *formatVersion = "1";

/// Repeats an attempt that other processes may block, until it succeeds or the limit has passed.
template <typename Attempt> bool succeedsInTime(Attempt attempt, QDeadlineTimer limit)
{
    bool succeeded = attempt();
    while (!succeeded && !limit.hasExpired()) {
        sqlite3_sleep(5);
        succeeded = attempt();
    }
    return succeeded;
}

/// Makes each later statement wait until `limit`, as it is now, if other processes block it.
void waitUntil(sqlite3 *handle, QDeadlineTimer limit);

/// Runs `sql` when no other process blocks it. Returns SQLITE_OK or an error.
int executeWhenFree(sqlite3 *handle, const char *sql, QDeadlineTimer limit);

/// The first column of the first row. If there is none, `result` has the reason.
std::optional<QByteArray> firstText(sqlite3 *handle, const char *sql, int &result);

/// Lays out an empty file as a suite. Returns SQLITE_OK or an error.
int layOut(sqlite3 *handle, QDeadlineTimer limit);

/// A process holds this lock while it lays out a new file or a damaged one, so that a second process finds it
/// done. The kernel takes the lock back from a process that is killed; a lock file would stay. The lock is on
/// the folder, because only SQLite may open the database.
class SetUpLock
{
public:
    SetUpLock(const QString &path, QDeadlineTimer limit);
    ~SetUpLock();
    Q_DISABLE_COPY_MOVE(SetUpLock)

    [[nodiscard]] bool isHeld() const { return m_held; }

private:
    int m_folder;
    bool m_held;
};

} // namespace kavrin
