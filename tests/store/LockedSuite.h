// SPDX-License-Identifier: MIT
#pragma once

#include "store/Shared.h"

#include <QFile>

#include <sqlite3.h>

#include <stdexcept>

namespace kavrin::test
{

/// Keeps every other connection from writing to the shared suite, as another program does that is about to
/// write, until unlock().
class LockedSuite
{
public:
    LockedSuite()
    {
        static_cast<void>(Shared::d().object(QStringLiteral("key"))); // makes the file
        sqlite3_open(QFile::encodeName(Shared::d().path()).constData(), &m_database);
        execute("BEGIN IMMEDIATE");
    }
    ~LockedSuite() { sqlite3_close(m_database); }
    LockedSuite(const LockedSuite &) = delete;
    LockedSuite &operator=(const LockedSuite &) = delete;

    void unlock() { execute("ROLLBACK"); }

private:
    void execute(const char *sql)
    {
        if (sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
            throw std::runtime_error(sqlite3_errmsg(m_database));
        }
    }

    sqlite3 *m_database = nullptr;
};

} // namespace kavrin::test
