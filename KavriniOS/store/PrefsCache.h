// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PropertyListValue.h"

#include <QHash>

#include <mutex>
#include <optional>

namespace kavrin
{

/// What Prefs has read or written so far. A key without a value was looked up and found absent.
struct PrefsCache {
    std::mutex mutex;
    QHash<QString, std::optional<PropertyListValue>> values;

    static PrefsCache &shared();
};

} // namespace kavrin
