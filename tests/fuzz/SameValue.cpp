// SPDX-License-Identifier: MIT
#include "fuzz/SameValue.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace kavrin::test
{

namespace
{

QString untilZero(const QString &text)
{
    return text.left(text.indexOf(QChar(0)));
}

/// Compares a value with the other one, which is of the same type.
struct CompareWith {
    const PropertyListValue &other;

    template <typename Value> bool operator()(const Value &value) const
    {
        return value == std::get<Value>(other);
    }

    bool operator()(double value) const
    {
        const double otherValue = std::get<double>(other);
        return value == otherValue || (std::isnan(value) && std::isnan(otherValue));
    }

    bool operator()(const QString &value) const
    {
        return untilZero(value) == untilZero(std::get<QString>(other));
    }

    bool operator()(Date value) const
    {
        constexpr double referenceDate = 978307200;
        constexpr double limit = std::numeric_limits<std::int32_t>::max();
        const double seconds = value.secondsSince1970;
        const bool isBeyondPropertyLists = std::abs(seconds - referenceDate) >= limit;
        return isBeyondPropertyLists || std::abs(seconds - std::get<Date>(other).secondsSince1970) <= 1;
    }

    bool operator()(const PropertyListArray &values) const
    {
        const auto &others = std::get<PropertyListArray>(other);
        return std::equal(values.begin(), values.end(), others.begin(), others.end(), isSame);
    }

    bool operator()(const PropertyListDictionary &values) const
    {
        const auto &others = std::get<PropertyListDictionary>(other);
        const auto isSameMember = [](const auto &left, const auto &right) {
            return left.first == right.first && isSame(left.second, right.second);
        };
        return std::equal(values.begin(), values.end(), others.begin(), others.end(), isSameMember);
    }
};

} // namespace

bool isSame(const PropertyListValue &left, const PropertyListValue &right)
{
    return left.index() == right.index() && std::visit(CompareWith{right}, left);
}

} // namespace kavrin::test
