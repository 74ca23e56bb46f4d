// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>
#include <string>

namespace kavrin::test
{

/// A disk of this process's own in a folder's place, empty at first, to fill up or to forbid. No other
/// process but those that this one starts sees it, and no rights are needed. What was in the folder is back
/// when it is destroyed.
class PrivateDisk
{
public:
    /// Of `size` bytes, in whole pages. To be made before the process has a second thread. Throws
    /// std::runtime_error. Where there is a refusal() the folder stays as it was.
    PrivateDisk(const QString &folder, qint64 size);
    ~PrivateDisk();

    PrivateDisk(const PrivateDisk &) = delete;
    PrivateDisk &operator=(const PrivateDisk &) = delete;

    /// Why there is no such disk, where the environment permits none: a container, or a chroot. Tests are
    /// skipped then.
    [[nodiscard]] const std::optional<std::string> &refusal() const { return m_refusal; }

    /// Takes all the room that is left.
    void fill() const;

    /// Gives back what fill() took.
    void makeRoom() const;

    /// Whether nothing can be changed on it, by root neither. No file may be open there for writing.
    void setReadOnly(bool readOnly) const;

private:
    QByteArray m_folder;
    std::optional<std::string> m_refusal;
};

} // namespace kavrin::test
