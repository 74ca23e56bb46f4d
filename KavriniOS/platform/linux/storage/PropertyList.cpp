// SPDX-License-Identifier: MIT
#include "platform/PropertyList.h"

#include "platform/linux/storage/BinaryPropertyListBounds.h"
#include "platform/linux/storage/XmlPropertyList.h"

#include <QLocale>

#include <plist/plist.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>

namespace kavrin::PropertyList
{

namespace
{

// Property lists count dates from 2001-01-01 00:00:00 UTC.
constexpr double referenceDate = 978307200;
constexpr double microseconds = 1e6;

struct FreeNode {
    void operator()(void *node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, FreeNode>;

struct FreeMemory {
    void operator()(void *memory) const { std::free(memory); }
};
template <typename T> using Memory = std::unique_ptr<T, FreeMemory>;

using Value = std::optional<PropertyListValue>;

Value toValue(plist_t node);

Value toArray(plist_t node)
{
    PropertyListArray array;
    plist_array_iter newIterator = nullptr;
    plist_array_new_iter(node, &newIterator);
    const Memory<void> iterator(newIterator);
    while (true) {
        plist_t item = nullptr;
        plist_array_next_item(node, iterator.get(), &item);
        if (item == nullptr) {
            return array;
        }
        Value element = toValue(item);
        if (!element) {
            return std::nullopt;
        }
        array.push_back(*std::move(element));
    }
}

Value toDictionary(plist_t node)
{
    PropertyListDictionary dictionary;
    plist_dict_iter newIterator = nullptr;
    plist_dict_new_iter(node, &newIterator);
    const Memory<void> iterator(newIterator);
    while (true) {
        char *newKey = nullptr;
        plist_t member = nullptr;
        plist_dict_next_item(node, iterator.get(), &newKey, &member);
        const Memory<char> key(newKey);
        if (member == nullptr) {
            return dictionary;
        }
        Value value = toValue(member);
        if (!value) {
            return std::nullopt;
        }
        dictionary.insert_or_assign(QString::fromUtf8(key.get()), *std::move(value));
    }
}

Value toDate(plist_t node)
{
    int32_t seconds = 0;
    int32_t fraction = 0;
    plist_get_date_val(node, &seconds, &fraction);
    // libplist omits the sign of a fraction.
    const double sign = seconds < 0 ? -1 : 1;
    return Date{referenceDate + double(seconds) + sign * double(fraction) / microseconds};
}

Value toData(plist_t node)
{
    char *newData = nullptr;
    uint64_t size = 0;
    plist_get_data_val(node, &newData, &size);
    const Memory<char> data(newData);
    return QByteArray(data.get(), qsizetype(size));
}

Value toValue(plist_t node)
{
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return value != 0;
    }
    case PLIST_UINT: {
        uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return qint64(value);
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return value;
    }
    case PLIST_STRING: {
        uint64_t size = 0;
        const char *value = plist_get_string_ptr(node, &size);
        return QString::fromUtf8(value, qsizetype(size));
    }
    case PLIST_DATE:
        return toDate(node);
    case PLIST_DATA:
        return toData(node);
    case PLIST_ARRAY:
        return toArray(node);
    case PLIST_DICT:
        return toDictionary(node);
    default:
        return std::nullopt;
    }
}

struct ToNode {
    plist_t operator()(bool value) const { return plist_new_bool(value ? 1 : 0); }
    plist_t operator()(qint64 value) const { return plist_new_uint(uint64_t(value)); }
    plist_t operator()(double value) const { return plist_new_real(value); }
    plist_t operator()(const QString &value) const { return plist_new_string(value.toUtf8().constData()); }

    plist_t operator()(Date value) const
    {
        constexpr double limit = std::numeric_limits<int32_t>::max();
        const double seconds = std::clamp(value.secondsSince1970 - referenceDate, -limit, limit);
        const double whole = std::floor(seconds);
        return plist_new_date(int32_t(whole), int32_t((seconds - whole) * microseconds));
    }

    plist_t operator()(const QByteArray &value) const
    {
        return plist_new_data(value.constData(), uint64_t(value.size()));
    }

    plist_t operator()(const PropertyListArray &values) const
    {
        plist_t array = plist_new_array();
        for (const PropertyListValue &value : values) {
            plist_array_append_item(array, std::visit(*this, value));
        }
        return array;
    }

    plist_t operator()(const PropertyListDictionary &values) const
    {
        plist_t dictionary = plist_new_dict();
        for (const auto &[key, value] : values) {
            plist_dict_set_item(dictionary, key.toUtf8().constData(), std::visit(*this, value));
        }
        return dictionary;
    }
};

} // namespace

std::optional<PropertyListValue> parse(QByteArrayView data)
{
    if (data.isEmpty() || data.size() > std::numeric_limits<uint32_t>::max()) {
        return std::nullopt;
    }
    if (!data.startsWith(QByteArrayView("bplist"))) {
        return parseXmlPropertyList(data);
    }
    if (!isWithinBounds(data)) {
        return std::nullopt;
    }
    plist_t root = nullptr;
    plist_from_bin(data.data(), uint32_t(data.size()), &root);
    const Node node(root);
    return node ? toValue(node.get()) : std::nullopt;
}

QByteArray toBinary(const PropertyListValue &value)
{
    const Node node(std::visit(ToNode(), value));
    char *newData = nullptr;
    uint32_t size = 0;
    plist_to_bin(node.get(), &newData, &size);
    const Memory<char> data(newData);
    return {data.get(), qsizetype(size)};
}

std::optional<QString> toText(const PropertyListValue &value)
{
    if (const auto *string = std::get_if<QString>(&value)) {
        return *string;
    }
    if (const auto *boolean = std::get_if<bool>(&value)) {
        return QString::number(int(*boolean));
    }
    if (const auto *integer = std::get_if<qint64>(&value)) {
        return QString::number(*integer);
    }
    if (const auto *number = std::get_if<double>(&value)) {
        return QString::number(*number, 'g', QLocale::FloatingPointShortest);
    }
    return std::nullopt;
}

} // namespace kavrin::PropertyList
