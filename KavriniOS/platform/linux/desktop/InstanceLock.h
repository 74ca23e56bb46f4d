// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <chrono>
#include <optional>

namespace kavrin
{

/// A lock on a file that at most one process holds: an open file description lock (F_OFD_SETLK in fcntl(2)).
/// The kernel takes it back when the process ends, however that happens, and no child process inherits it.
/// What the file contains says nothing. It excludes a QLockFile of the same path, too, which version 0.1.0
/// has.
class InstanceLock
{
public:
    explicit InstanceLock(QString path);

    /// Gives the lock back, and removes the file.
    ~InstanceLock();

    Q_DISABLE_COPY_MOVE(InstanceLock)

    /// Takes the lock, and waits up to `patience` for it. False if another process still holds it then. True
    /// without a lock if there can be none: the folder is missing or may not be written to, the file system
    /// knows no locks, or something that is no file has the name.
    [[nodiscard]] bool take(std::chrono::milliseconds patience);

    [[nodiscard]] QString path() const { return m_path; }

    /// Whether a process holds the lock at `path`, without taking it. None if that cannot be told, because
    /// there can be no lock. A process of version 0.1.0 does not count.
    [[nodiscard]] static std::optional<bool> isHeld(const QString &path);

private:
    enum class Attempt { Taken, HeldElsewhere, Gone, Impossible };
    Attempt attempt();
    [[nodiscard]] bool isAtPath() const;
    void close();

    QString m_path;
    int m_file = -1;
};

} // namespace kavrin
