// SPDX-License-Identifier: MIT
#include "store/PrefsCache.h"

#include "store/Shared.h"

namespace kavrin
{

PrefsCache &PrefsCache::shared()
{
    // Never destroyed: threads may use it until the process has ended.
    static auto *const cache = new PrefsCache;
    return *cache;
}

std::optional<PropertyListValue> PrefsCache::find(const QString &key)
{
    const std::scoped_lock lock(m_mutex);
    const auto known = m_entries.constFind(key);
    if (known != m_entries.constEnd()) {
        return known->shown;
    }
    const auto [value, failure] = Shared::d().read(key);
    if (!failure) {
        m_entries.insert(key, {value, value});
    }
    return value;
}

void PrefsCache::show(const Changes &changes)
{
    const std::scoped_lock lock(m_mutex);
    for (const Change &change : changes) {
        Entry &entry = m_entries[change.key];
        entry.shown = change.value;
        ++entry.unsettled;
    }
}

void PrefsCache::settle(const Changes &changes, bool stored)
{
    const std::scoped_lock lock(m_mutex);
    for (const Change &change : changes) {
        Entry &entry = m_entries[change.key];
        --entry.unsettled;
        if (stored) {
            entry.stored = change.value;
        }
        if (entry.unsettled > 0) {
            continue;
        }
        if (entry.isForgotten || !entry.stored) {
            m_entries.remove(change.key);
        } else {
            entry.shown = *entry.stored;
        }
    }
}

void PrefsCache::forget(const QString &key)
{
    const std::scoped_lock lock(m_mutex);
    const auto known = m_entries.find(key);
    if (known == m_entries.end()) {
        return;
    }
    known->isForgotten = true;
    if (known->unsettled == 0) {
        m_entries.erase(known);
    }
}

void PrefsCache::clear()
{
    const std::scoped_lock lock(m_mutex);
    m_entries.removeIf([](const auto &known) { return known.value().unsettled == 0; });
    for (Entry &entry : m_entries) {
        entry.isForgotten = true;
    }
}

} // namespace kavrin
