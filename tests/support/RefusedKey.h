// SPDX-License-Identifier: MIT
#pragma once

#include "store/Shared.h"

#include <QFile>

#include <sqlite3.h>

#include <stdexcept>

namespace kavrin::test
{

/// The shared suite takes no value for one key as long as this exists, as it takes none at all for a moment
/// when its disk is full or another program keeps it locked.
class RefusedKey
{
public:
    explicit RefusedKey(const char *key)
    {
        // Opened by the application first, so that there is a table.
        static_cast<void>(Shared::d().object(QString::fromLatin1(key)));
        sqlite3_open(QFile::encodeName(Shared::d().path()).constData(), &m_suite);
        for (const QByteArray change : {"INSERT", "UPDATE"}) {
            execute("CREATE TRIGGER refused" + change + " BEFORE " + change + " ON defaults WHEN NEW.key = '"
                    + key + "' BEGIN SELECT RAISE(ABORT, 'no room'); END");
        }
    }

    ~RefusedKey()
    {
        sqlite3_exec(m_suite, "DROP TRIGGER refusedINSERT; DROP TRIGGER refusedUPDATE", nullptr, nullptr,
                     nullptr);
        sqlite3_close(m_suite);
    }

    RefusedKey(const RefusedKey &) = delete;
    RefusedKey &operator=(const RefusedKey &) = delete;

private:
    void execute(const QByteArray &sql)
    {
        if (sqlite3_exec(m_suite, sql.constData(), nullptr, nullptr, nullptr) != SQLITE_OK) {
            throw std::runtime_error(sqlite3_errmsg(m_suite));
        }
    }

    sqlite3 *m_suite = nullptr;
};

} // namespace kavrin::test
