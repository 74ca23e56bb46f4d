// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PropertyListValue.h"

#include <QHash>

#include <atomic>
#include <mutex>
#include <optional>

namespace kavrin
{

/// What Prefs has read or written so far, for the whole process. Safe from any thread.
class PrefsCache
{
public:
    static PrefsCache &shared();

    struct Found {
        std::optional<PropertyListValue> value; ///< none where the suite has none
        quint64 revision =
            0; ///< the value is this one as long as revision() is; 0 where it could not be read
    };

    /// The value of a key, read from the suite the first time.
    Found find(const QString &key);

    /// Never 0, and another number whenever a value may have become another one.
    [[nodiscard]] quint64 revision() const { return m_revision.load(std::memory_order_acquire); }

    void insert(const QString &key, const PropertyListValue &value);
    void clear();

private:
    std::mutex m_mutex;
    QHash<QString, std::optional<PropertyListValue>> m_values;
    std::atomic<quint64> m_revision = 1;
};

} // namespace kavrin
