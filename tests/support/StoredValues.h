// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PropertyListValue.h"

#include <limits>
#include <vector>

namespace kavrin::test
{

/// A value of every type, and the ends of their ranges: what a suite may hold under any key.
inline std::vector<PropertyListValue> storedValues()
{
    using namespace Qt::StringLiterals;
    using Integer = std::numeric_limits<qint64>;
    using Real = std::numeric_limits<double>;
    return {
        true,
        qint64(0),
        qint64(-7),
        Integer::max(),
        Integer::min(),
        0.0,
        -0.5,
        Real::denorm_min(),
        9223372036854775808.0,
        1e20,
        -1e20,
        Real::max(),
        Real::lowest(),
        QString(),
        u"nan"_s,
        u"a\nb\0c"_s,
        QString(100'000, u'x'),
        Date{0},
        Date{Real::max()},
        QByteArray(),
        QByteArray("\0\xff", 2),
        PropertyListArray{},
        PropertyListArray{u"a"_s, qint64(1)},
        PropertyListDictionary{},
        PropertyListDictionary{{u"a"_s, PropertyListArray{Date{1}}}},
    };
}

} // namespace kavrin::test
