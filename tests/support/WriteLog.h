// SPDX-License-Identifier: MIT
#pragma once

#include "support/OtherProgram.h"

namespace kavrin::test
{

/// Notes which keys of the shared suite are written or removed as long as this exists.
class WriteLog
{
public:
    WriteLog()
    {
        m_program.execute("CREATE TABLE written (key TEXT)");
        const std::pair<QByteArray, QByteArray> changes[] = {
            {"INSERT", "new"}, {"UPDATE", "new"}, {"DELETE", "old"}};
        for (const auto &[change, row] : changes) {
            m_program.execute("CREATE TRIGGER written" + change + " AFTER " + change
                              + " ON defaults BEGIN INSERT INTO written VALUES (" + row + ".key); END");
        }
    }

    ~WriteLog()
    {
        m_program.execute("DROP TRIGGER writtenINSERT; DROP TRIGGER writtenUPDATE;"
                          "DROP TRIGGER writtenDELETE; DROP TABLE written");
    }

    WriteLog(const WriteLog &) = delete;
    WriteLog &operator=(const WriteLog &) = delete;

    /// In the order of the writes, each as often as it was written.
    QStringList keys() { return m_program.firstColumn("SELECT key FROM written ORDER BY rowid"); }

private:
    OtherProgram m_program;
};

} // namespace kavrin::test
