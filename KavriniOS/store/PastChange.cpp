// SPDX-License-Identifier: MIT
#include "store/PastChange.h"

namespace kavrin
{

namespace
{

std::optional<PropertyListValue> valueIn(const PropertyListDictionary &values, const QString &key)
{
    const auto found = values.find(key);
    return found == values.end() ? std::nullopt : std::optional(found->second);
}

} // namespace

Changes PastChange::reversal(const PropertyListDictionary &now) const
{
    Changes changes;
    for (const QString &key : keys) {
        const std::optional<PropertyListValue> changed = valueIn(after, key);
        const std::optional<PropertyListValue> previous = valueIn(before, key);
        if (previous != changed && valueIn(now, key) == changed) {
            changes.push_back({key, previous});
        }
    }
    return changes;
}

} // namespace kavrin
