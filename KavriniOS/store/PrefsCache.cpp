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

PrefsCache::Found PrefsCache::find(const QString &key)
{
    const std::scoped_lock lock(m_mutex);
    const auto known = m_values.constFind(key);
    if (known != m_values.constEnd()) {
        return {*known, m_revision};
    }
    const std::optional<PropertyListValue> stored = Shared::d().object(key);
    if (!stored && !Shared::d().lastError().isEmpty()) {
        return {};
    }
    m_values.insert(key, stored);
    return {stored, m_revision};
}

void PrefsCache::insert(const QString &key, const PropertyListValue &value)
{
    const std::scoped_lock lock(m_mutex);
    m_values.insert(key, value);
    ++m_revision;
}

void PrefsCache::clear()
{
    const std::scoped_lock lock(m_mutex);
    m_values.clear();
    ++m_revision;
}

} // namespace kavrin
