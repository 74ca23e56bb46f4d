// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UserDefaults.h"

#include <QHash>

#include <mutex>
#include <optional>

namespace kavrin
{

/// The values that Prefs has read or written so far, for the whole process. Safe from any thread.
///
/// show() makes a change visible before it is stored; settle() says how that ended. If the change was not
/// stored, the stored value is visible again.
class PrefsCache
{
public:
    static PrefsCache &shared();

    /// The value of a key, which is read from the suite the first time. None if the suite has none.
    std::optional<PropertyListValue> find(const QString &key);

    void show(const Changes &changes);
    void settle(const Changes &changes, bool stored);

    /// Forgets one key: a change of it that is not stored yet as soon as it is settled.
    void forget(const QString &key);

    /// Forgets everything: changes that are not stored yet as soon as they are settled.
    void clear();

private:
    using Value = std::optional<PropertyListValue>; ///< none if the suite has none

    struct Entry {
        Value shown;
        std::optional<Value> stored; ///< none if it was never read
        int unsettled = 0; ///< how many changes of it are not stored yet
        bool isForgotten = false; ///< whether it goes when they are settled
    };

    std::mutex m_mutex;
    QHash<QString, Entry> m_entries;
};

} // namespace kavrin
