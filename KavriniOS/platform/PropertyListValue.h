// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <map>
#include <variant>
#include <vector>

namespace kavrin
{

/// A point in time, in seconds since 1970-01-01 00:00:00 UTC.
struct Date {
    double secondsSince1970 = 0;

    /// The wall clock, to the microsecond or better.
    static Date now()
    {
        return {std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count()};
    }

    bool operator==(const Date &) const = default;
};

struct PropertyListValue;
using PropertyListArray = std::vector<PropertyListValue>;
using PropertyListDictionary = std::map<QString, PropertyListValue>;

/// One value of a property list, as the shared suite stores it under a key. A plain value type; copying is
/// cheap for everything but arrays and dictionaries.
struct PropertyListValue : std::variant<bool, qint64, double, QString, Date, QByteArray, PropertyListArray,
                                        PropertyListDictionary> {
    using variant::variant;
};

} // namespace kavrin
