// SPDX-License-Identifier: MIT
#include "platform/linux/storage/PrivateFiles.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kavrin::PrivateFiles
{

using namespace Qt::StringLiterals;

namespace
{

constexpr mode_t folderMode = 0700;
constexpr mode_t fileMode = 0600;

/// Leaves others no permission. False if another user owns the folder or file.
bool narrow(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status = {};
    if (::stat(name.constData(), &status) != 0) {
        return true;
    }
    if (status.st_uid != ::geteuid()) {
        return ::geteuid() == 0;
    }
    const bool isFolder = S_ISDIR(status.st_mode);
    const mode_t excess = status.st_mode & 0777 & ~(isFolder ? folderMode : fileMode);
    if (excess != 0 && (isFolder || S_ISREG(status.st_mode))) {
        ::chmod(name.constData(), status.st_mode & 07777 & ~excess);
    }
    return true;
}

void makeMissingFolders(const QString &path)
{
    const QFileInfo folder(path);
    if (!folder.exists()) {
        makeMissingFolders(folder.path());
        ::mkdir(QFile::encodeName(path).constData(), folderMode);
    }
}

// SQLite would let the process's umask choose the mode, so this function makes
// the file. SQLite's other files get the mode of the database. It makes only a
// new file: closing a descriptor of an existing one would drop all of the
// process's locks on it, including those of SQLite.
void makeMissingFile(const QString &path)
{
    const int file =
        ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, fileMode);
    if (file >= 0) {
        ::close(file);
    }
}

} // namespace

bool makeFolder(const QString &path)
{
    makeMissingFolders(path);
    return narrow(path);
}

// The folder comes first: from then on, nobody else can replace the files.
bool makeDatabase(const QString &path)
{
    if (!makeFolder(QFileInfo(path).path())) {
        return false;
    }
    makeMissingFile(path);
    const QString file = QFileInfo(path).canonicalFilePath(); // beside which SQLite keeps its other files
    return file.isEmpty() || (narrow(file) && narrow(file + u"-wal"_s) && narrow(file + u"-shm"_s));
}

} // namespace kavrin::PrivateFiles
