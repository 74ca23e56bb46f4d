// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/InstanceLock.h"

#include <QDeadlineTimer>
#include <QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <thread>
#include <utility>

namespace kavrin
{

using namespace std::chrono_literals;

namespace
{

/// A lock on the whole file.
struct flock wholeFile()
{
    struct flock whole = {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    return whole;
}

/// Opens what a lock can be on. O_NONBLOCK is for something that is no file.
int open(const QString &path, int flags)
{
    return ::open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC | O_NONBLOCK | flags, 0600);
}

/// Locks an open file. On failure, errno is EAGAIN or EACCES if another process holds the lock.
bool lock(int file)
{
    struct flock whole = wholeFile();
    // Version 0.1.0 has a QLockFile, which uses flock(2). That is another lock on the same file.
    return ::fcntl(file, F_OFD_SETLK, &whole) == 0
        && (::flock(file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK);
}

} // namespace

InstanceLock::InstanceLock(QString path) : m_path(std::move(path)) { }

InstanceLock::~InstanceLock()
{
    if (m_file >= 0 && isAtPath()) {
        ::unlink(QFile::encodeName(m_path).constData());
    }
    close();
}

bool InstanceLock::take(std::chrono::milliseconds patience)
{
    const QDeadlineTimer limit(patience);
    // On a file system that numbers its files anew each time, every file would seem to be gone.
    constexpr int mostRemovals = 100;
    int removals = 0;
    Attempt last = attempt();
    while ((last == Attempt::HeldElsewhere && !limit.hasExpired())
           || (last == Attempt::Gone && ++removals < mostRemovals)) {
        std::this_thread::sleep_for(10ms);
        last = attempt();
    }
    return last != Attempt::HeldElsewhere;
}

InstanceLock::Attempt InstanceLock::attempt()
{
    m_file = open(m_path, O_CREAT);
    if (m_file < 0) {
        return Attempt::Impossible;
    }
    const bool isLocked = lock(m_file);
    const bool isHeldElsewhere = !isLocked && (errno == EAGAIN || errno == EACCES);
    // A process that ends removes the file, perhaps between our two calls.
    const bool isGone = isLocked && !isAtPath();
    if (!isLocked || isGone) {
        close();
    }
    return isGone         ? Attempt::Gone
        : isLocked        ? Attempt::Taken
        : isHeldElsewhere ? Attempt::HeldElsewhere
                          : Attempt::Impossible;
}

std::optional<bool> InstanceLock::isHeld(const QString &path)
{
    const int file = open(path, 0);
    if (file < 0) {
        return errno == ENOENT ? std::optional(false) : std::nullopt;
    }
    struct flock whole = wholeFile();
    const bool isAnswered = ::fcntl(file, F_OFD_GETLK, &whole) == 0;
    ::close(file);
    return isAnswered ? std::optional(whole.l_type != F_UNLCK) : std::nullopt;
}

bool InstanceLock::isAtPath() const
{
    struct stat open = {};
    struct stat named = {};
    return ::fstat(m_file, &open) == 0 && ::stat(QFile::encodeName(m_path).constData(), &named) == 0
        && open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

void InstanceLock::close()
{
    if (m_file >= 0) {
        ::close(m_file);
        m_file = -1;
    }
}

} // namespace kavrin
