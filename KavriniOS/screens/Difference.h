// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <algorithm>

namespace kavrin
{

/// The part in which two texts, or two lists, differ: from the first difference to the last.
template <typename Sequence> struct Difference {
    qsizetype from; ///< where it begins in both
    qsizetype end; ///< where it ends in the older one
    Sequence now; ///< what the newer one has there
};

template <typename Sequence> Difference<Sequence> difference(const Sequence &before, const Sequence &now)
{
    const auto first = std::mismatch(before.begin(), before.end(), now.begin(), now.end()).first;
    const qsizetype from = first - before.begin();
    const auto last = std::mismatch(before.rbegin(), before.rend() - from, now.rbegin(), now.rend() - from);
    const qsizetype same = last.first - before.rbegin();
    return {from, before.size() - same, now.mid(from, now.size() - same - from)};
}

} // namespace kavrin
