// SPDX-License-Identifier: MIT
#pragma once

#include <QFile>
#include <QString>

namespace kavrin::ctl
{

/// A file that a person names, which need not be a recording, nor end. What is no ordinary file, such as a
/// pipe, is read into memory at once.
class GivenFile
{
public:
    /// Throws Error "file" if the file is larger than 100 MB, or is a pipe or device that has not ended after
    /// five seconds.
    explicit GivenFile(const QString &path);

    /// The file to read as long as this object lives. There need not be one.
    [[nodiscard]] QString path() const { return m_path; }

private:
    void copy(int source);

    QString m_path;
    QFile m_copy;
};

} // namespace kavrin::ctl
