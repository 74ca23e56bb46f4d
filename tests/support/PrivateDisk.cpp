// SPDX-License-Identifier: MIT
#include "support/PrivateDisk.h"

#include <QFile>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace kavrin::test
{

namespace
{

void require(bool succeeded, const char *what)
{
    if (!succeeded) {
        throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
    }
}

void write(const char *path, const QByteArray &text)
{
    QFile file(QString::fromLatin1(path));
    require(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(text) == text.size(), path);
}

/// Whoever is not root may mount in a user namespace only; everybody stays who they are in it.
void enterPrivateMounts()
{
    const QByteArray user = QByteArray::number(geteuid());
    const QByteArray group = QByteArray::number(getegid());
    if (geteuid() == 0) {
        require(unshare(CLONE_NEWNS) == 0, "a mount namespace");
    } else {
        require(unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0, "a user namespace");
        write("/proc/self/setgroups", "deny");
        write("/proc/self/uid_map", user + " " + user + " 1");
        write("/proc/self/gid_map", group + " " + group + " 1");
    }
    require(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "private mounts");
}

QString fillerPath(const QByteArray &folder)
{
    return QFile::decodeName(folder) + QStringLiteral("/filler");
}

} // namespace

PrivateDisk::PrivateDisk(const QString &folder, qint64 size) : m_folder(QFile::encodeName(folder))
{
    try {
        enterPrivateMounts();
    } catch (const std::runtime_error &failure) {
        m_refusal = std::string("mounts of one's own are not permitted here: ") + failure.what();
        return;
    }
    const QByteArray options = "mode=0700,size=" + QByteArray::number(size);
    require(mount("tmpfs", m_folder, "tmpfs", 0, options.constData()) == 0, m_folder);
}

PrivateDisk::~PrivateDisk()
{
    umount2(m_folder, MNT_DETACH);
}

void PrivateDisk::fill() const
{
    QFile filler(fillerPath(m_folder));
    require(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered), "the filler");
    const QByteArray piece(1024, 'x');
    while (filler.write(piece) > 0) { }
}

void PrivateDisk::makeRoom() const
{
    QFile::remove(fillerPath(m_folder));
}

void PrivateDisk::setReadOnly(bool readOnly) const
{
    require(mount("tmpfs", m_folder, "tmpfs", MS_REMOUNT | (readOnly ? MS_RDONLY : 0), nullptr) == 0,
            m_folder);
}

} // namespace kavrin::test
