// SPDX-License-Identifier: MIT
#pragma once

#include "store/Shared.h"

#include <QFile>
#include <QStringList>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>

namespace kavrin::test
{

/// Another program that has the shared suite open, as a keyboard has. The test fails where SQLite refuses it
/// something.
class OtherProgram
{
public:
    OtherProgram()
    {
        // Opened by the application first, so that there is a table.
        static_cast<void>(Shared::d().object(QStringLiteral("key")));
        sqlite3 *handle = nullptr;
        EXPECT_EQ(sqlite3_open(QFile::encodeName(Shared::d().path()).constData(), &handle), SQLITE_OK);
        m_suite.reset(handle);
        sqlite3_busy_timeout(handle, 30'000); // the application's writer may be at work
    }

    void execute(const QByteArray &sql) { firstColumn(sql); }

    QStringList firstColumn(const QByteArray &sql)
    {
        const auto append = [](void *lines, int, char **columns, char **) {
            static_cast<QStringList *>(lines)->append(QString::fromUtf8(columns[0]));
            return 0;
        };
        QStringList lines;
        EXPECT_EQ(sqlite3_exec(m_suite.get(), sql.constData(), append, &lines, nullptr), SQLITE_OK)
            << sqlite3_errmsg(m_suite.get());
        return lines;
    }

private:
    struct Close {
        void operator()(sqlite3 *handle) const { sqlite3_close(handle); }
    };
    std::unique_ptr<sqlite3, Close> m_suite;
};

} // namespace kavrin::test
