// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Suggestion.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;

/// How many letters must be inserted, deleted, replaced or swapped with the next one to make one word the
/// other.
qsizetype distance(const QString &one, const QString &other)
{
    const qsizetype width = other.size() + 1;
    std::vector<qsizetype> beforeLast(width);
    std::vector<qsizetype> last(width);
    std::vector<qsizetype> row(width);
    std::iota(row.begin(), row.end(), 0);
    for (qsizetype i = 1; i <= one.size(); ++i) {
        beforeLast = std::exchange(last, row);
        row[0] = i;
        for (qsizetype j = 1; j < width; ++j) {
            const bool isEqual = one[i - 1] == other[j - 1];
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (isEqual ? 0 : 1)});
            if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1]) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
    }
    return row.back();
}

} // namespace

QString suggestion(const QString &word, const QStringList &known, const QString &otherwise)
{
    const QString meant = word.toLower();
    const auto mistakes = [&](const QString &other) { return distance(meant, other.toLower()); };
    const auto closest = std::ranges::min_element(known, {}, mistakes);
    const bool isClose = closest != known.end() && mistakes(*closest) * 3 <= word.size();
    return isClose ? u"Did you mean %1?"_s.arg(*closest) : otherwise;
}

} // namespace kavrin::ctl
