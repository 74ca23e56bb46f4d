// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kavrin::test
{

/// A disk of this process's own in a folder's place, empty at first, to fill up or to forbid. No other
/// process but those that this one starts sees it, and no rights are needed. What was in the folder is back
/// when it is destroyed.
class PrivateDisk
{
public:
    /// Of `size` bytes, in whole pages. To be made before the process has a second thread. Throws
    /// std::runtime_error.
    PrivateDisk(const QString &folder, qint64 size);
    ~PrivateDisk();

    PrivateDisk(const PrivateDisk &) = delete;
    PrivateDisk &operator=(const PrivateDisk &) = delete;

    /// Takes all the room that is left.
    void fill() const;

    /// Gives back what fill() took.
    void makeRoom() const;

    /// Whether nothing can be changed on it, by root neither. No file may be open there for writing.
    void setReadOnly(bool readOnly) const;

private:
    QByteArray m_folder;
};

} // namespace kavrin::test
