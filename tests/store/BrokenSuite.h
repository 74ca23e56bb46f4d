// SPDX-License-Identifier: MIT
#pragma once

#include "store/Shared.h"

#include <QDir>
#include <QFile>

namespace kavrin::test
{

/// Loses the suite's file and has a folder in its place, so that nothing can be read or written; when it is
/// destroyed, the suite works again and is empty.
class BrokenSuite
{
public:
    BrokenSuite() : m_path(Shared::d().path())
    {
        for (const char *suffix : {"", "-wal", "-shm"}) {
            QFile::remove(m_path + QString::fromLatin1(suffix));
        }
        QDir().mkpath(m_path);
    }
    ~BrokenSuite() { QDir().rmdir(m_path); }

    BrokenSuite(const BrokenSuite &) = delete;
    BrokenSuite &operator=(const BrokenSuite &) = delete;

private:
    QString m_path;
};

} // namespace kavrin::test
