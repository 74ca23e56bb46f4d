// SPDX-License-Identifier: MIT
#include "store/JsonSerialization.h"

#include <QJsonArray>

#include <cmath>

namespace kavrin
{

namespace
{

struct ToJson {
    using Result = std::optional<QJsonValue>;

    Result operator()(bool value) const { return value; }
    Result operator()(qint64 value) const { return value; }
    Result operator()(double value) const { return std::isfinite(value) ? Result(value) : std::nullopt; }
    Result operator()(const QString &value) const { return value; }
    Result operator()(const Date &) const { return std::nullopt; }
    Result operator()(const QByteArray &) const { return std::nullopt; }

    Result operator()(const PropertyListArray &values) const
    {
        QJsonArray array;
        for (const PropertyListValue &value : values) {
            const Result json = toJson(value);
            if (!json) {
                return std::nullopt;
            }
            array.append(*json);
        }
        return array;
    }

    Result operator()(const PropertyListDictionary &values) const { return toJson(values); }
};

PropertyListValue numberFromJson(const QJsonValue &value)
{
    const QVariant number = value.toVariant();
    if (number.typeId() == QMetaType::LongLong) {
        return number.toLongLong();
    }
    return number.toDouble();
}

std::optional<PropertyListValue> arrayFromJson(const QJsonArray &array)
{
    PropertyListArray values;
    for (const auto element : array) {
        std::optional<PropertyListValue> value = fromJson(element);
        if (!value) {
            return std::nullopt;
        }
        values.push_back(*std::move(value));
    }
    return values;
}

std::optional<PropertyListValue> dictionaryFromJson(const QJsonObject &object)
{
    PropertyListDictionary values;
    for (auto member = object.begin(); member != object.end(); ++member) {
        std::optional<PropertyListValue> value = fromJson(member.value());
        if (!value) {
            return std::nullopt;
        }
        values.emplace(member.key(), *std::move(value));
    }
    return values;
}

} // namespace

std::optional<QJsonValue> toJson(const PropertyListValue &value)
{
    return std::visit(ToJson(), value);
}

std::optional<QJsonObject> toJson(const PropertyListDictionary &values)
{
    QJsonObject object;
    for (const auto &[key, value] : values) {
        const std::optional<QJsonValue> json = toJson(value);
        if (!json) {
            return std::nullopt;
        }
        object.insert(key, *json);
    }
    return object;
}

std::optional<PropertyListValue> fromJson(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::Bool:
        return value.toBool();
    case QJsonValue::Double:
        return numberFromJson(value);
    case QJsonValue::String:
        return value.toString();
    case QJsonValue::Array:
        return arrayFromJson(value.toArray());
    case QJsonValue::Object:
        return dictionaryFromJson(value.toObject());
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        break;
    }
    return std::nullopt;
}

} // namespace kavrin
