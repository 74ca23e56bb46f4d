// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UserDefaults.h"

#include <QFile>

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace kavrin::test
{

/// Keeps every other connection from writing to the application's own defaults, until unlock().
class LockedDefaults
{
public:
    LockedDefaults()
    {
        sqlite3_open(QFile::encodeName(UserDefaults::standard().path()).constData(), &m_handle);
        EXPECT_EQ(sqlite3_exec(m_handle, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    }
    ~LockedDefaults() { unlock(); }
    Q_DISABLE_COPY_MOVE(LockedDefaults)

    void unlock()
    {
        sqlite3_close(m_handle);
        m_handle = nullptr;
    }

private:
    sqlite3 *m_handle = nullptr;
};

} // namespace kavrin::test
