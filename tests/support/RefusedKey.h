// SPDX-License-Identifier: MIT
#pragma once

#include "support/OtherProgram.h"

namespace kavrin::test
{

/// The shared suite takes no value for one key as long as this exists, as it takes none at all for a moment
/// when its disk is full or another program keeps it locked.
class RefusedKey
{
public:
    explicit RefusedKey(const char *key)
    {
        for (const QByteArray change : {"INSERT", "UPDATE"}) {
            m_program.execute("CREATE TRIGGER refused" + change + " BEFORE " + change
                              + " ON defaults WHEN NEW.key = '" + key
                              + "' BEGIN SELECT RAISE(ABORT, 'no room'); END");
        }
    }

    ~RefusedKey() { m_program.execute("DROP TRIGGER refusedINSERT; DROP TRIGGER refusedUPDATE"); }

    RefusedKey(const RefusedKey &) = delete;
    RefusedKey &operator=(const RefusedKey &) = delete;

private:
    OtherProgram m_program;
};

} // namespace kavrin::test
