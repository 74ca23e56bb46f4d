// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/GivenFile.h"

#include "platform/Error.h"

#include <QDeadlineTimer>

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kavrin::ctl
{

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 largest = 100'000'000; // no speech service takes as much
constexpr std::chrono::seconds patience(5);

void expectNotTooLarge(const QString &path, qint64 size)
{
    if (size > largest) {
        throw Error(u"file"_s, EFBIG,
                    u"%1 is larger than 100 MB, so it is no recording to send."_s.arg(path));
    }
}

/// Waits until there is something to read, or the end. False if there is neither in time.
bool isReadable(int source, QDeadlineTimer limit)
{
    pollfd wanted = {.fd = source, .events = POLLIN, .revents = 0};
    return ::poll(&wanted, 1, int(limit.remainingTime())) > 0;
}

} // namespace

GivenFile::GivenFile(const QString &path) : m_path(path)
{
    struct stat status = {};
    const QByteArray name = QFile::encodeName(path);
    if (::stat(name.constData(), &status) != 0 || S_ISDIR(status.st_mode)) {
        return;
    }
    if (S_ISREG(status.st_mode)) {
        expectNotTooLarge(path, status.st_size);
        return;
    }
    QFile source;
    const int descriptor = ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor >= 0 && source.open(descriptor, QFile::ReadOnly, QFile::AutoCloseHandle)) {
        copy(descriptor);
    }
}

void GivenFile::copy(int source)
{
    m_copy.open(::memfd_create("file", MFD_CLOEXEC), QFile::ReadWrite | QFile::Unbuffered,
                QFile::AutoCloseHandle);
    const QDeadlineTimer limit(patience);
    std::array<char, 65536> piece{};
    for (;;) {
        if (limit.hasExpired() || !isReadable(source, limit)) {
            throw Error(u"file"_s, ETIMEDOUT,
                        u"%1 has not ended after five seconds. Save it to a file first."_s.arg(m_path));
        }
        const ssize_t size = ::read(source, piece.data(), piece.size());
        if (size <= 0) {
            break;
        }
        m_copy.write(piece.data(), size);
        expectNotTooLarge(m_path, m_copy.pos());
    }
    m_path = u"/proc/self/fd/%1"_s.arg(m_copy.handle());
}

} // namespace kavrin::ctl
