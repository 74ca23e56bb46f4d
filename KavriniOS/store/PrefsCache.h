// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UserDefaults.h"

#include <QHash>

#include <mutex>
#include <optional>

namespace kavrin
{

/// What Prefs has read or written so far, for the whole process. Safe from any thread.
///
/// A change shows from show() on, before it is stored; settle() ends that. Where it was not stored, the value
/// shows again that was.
class PrefsCache
{
public:
    static PrefsCache &shared();

    /// The value of a key, read from the suite the first time; none where the suite has none.
    std::optional<PropertyListValue> find(const QString &key);

    void show(const Changes &changes);
    void settle(const Changes &changes, bool stored);

    /// Forgets everything, changes that are still to be stored once they are settled.
    void clear();

private:
    using Value = std::optional<PropertyListValue>; ///< none where the suite has none

    struct Entry {
        Value shown;
        std::optional<Value> stored; ///< none where it was never read
        int unsettled = 0; ///< how many changes of it are still to be stored
        bool isForgotten = false; ///< whether it goes once they are
    };

    std::mutex m_mutex;
    QHash<QString, Entry> m_entries;
};

} // namespace kavrin
