// SPDX-License-Identifier: MIT
#pragma once

#include <QFileInfo>
#include <QString>

namespace kavrin
{

/// Whether the path leads to an ordinary file, or to nothing, where one can be made. A pipe or a device would
/// let the application wait for its other end.
inline bool canBeFile(const QString &path)
{
    const QFileInfo info(path);
    return !info.exists() || info.isFile();
}

} // namespace kavrin
