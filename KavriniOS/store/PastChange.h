// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UserDefaults.h"

#include <QStringList>

namespace kavrin
{

/// What some keys of the suite held before a change of settings, and after it.
struct PastChange {
    QStringList keys;
    PropertyListDictionary before; ///< a key without a value is not in it
    PropertyListDictionary after; ///< likewise

    /// The changes that bring back what was before, of the keys that still hold in `now` what they held
    /// after. Other programs have changed the others since.
    [[nodiscard]] Changes reversal(const PropertyListDictionary &now) const;

    /// Whether nothing was changed.
    [[nodiscard]] bool isEmpty() const { return reversal(after).empty(); }
};

} // namespace kavrin
