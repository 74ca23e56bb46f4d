// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Console.h"

#include "store/Shared.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QTimeZone>

#include <array>
#include <cmath>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;

QDateTime toDateTime(Date date)
{
    return QDateTime::fromMSecsSinceEpoch(qint64(std::round(date.secondsSince1970 * 1000))).toUTC();
}

/// A stored value with the name of its type. Dates are ISO 8601, data is Base64.
struct Described {
    QString type;
    QJsonValue value;
};

struct Describe {
    Described operator()(bool value) const { return {u"bool"_s, value}; }
    Described operator()(qint64 value) const { return {u"int"_s, value}; }
    Described operator()(double value) const { return {u"double"_s, value}; }
    Described operator()(const QString &value) const { return {u"string"_s, value}; }
    Described operator()(Date value) const
    {
        return {u"date"_s, toDateTime(value).toString(Qt::ISODateWithMs)};
    }
    Described operator()(const QByteArray &value) const
    {
        return {u"data"_s, QString::fromLatin1(value.toBase64())};
    }

    Described operator()(const PropertyListArray &values) const
    {
        QJsonArray array;
        for (const PropertyListValue &value : values) {
            array.append(std::visit(*this, value).value);
        }
        return {u"array"_s, array};
    }

    Described operator()(const PropertyListDictionary &values) const
    {
        QJsonObject object;
        for (const auto &[key, value] : values) {
            object.insert(key, std::visit(*this, value).value);
        }
        return {u"dict"_s, object};
    }
};

QJsonValue describe(const PropertyListValue &value, bool withType)
{
    const Described described = std::visit(Describe(), value);
    if (!withType) {
        return described.value;
    }
    return QJsonObject{{u"type"_s, described.type}, {u"value"_s, described.value}};
}

void expectRead(const std::optional<Error> &failure)
{
    expectNoFailure(failure, u"The suite could not be read"_s);
}

void read(QStringList &arguments)
{
    const bool withType = takeFlag(arguments, u"--types"_s);
    takeFlag(arguments, u"--json"_s); // the output is always JSON
    expectNoFlags(arguments);
    expectArguments(arguments, {}, 1);
    if (arguments.isEmpty()) {
        const auto [values, failure] = Shared::d().dictionaryRepresentation();
        expectRead(failure);
        QJsonObject all;
        for (const auto &[key, value] : values) {
            all.insert(key, describe(value, withType));
        }
        print(all);
        return;
    }
    const auto [value, failure] = Shared::d().read(arguments.first());
    expectRead(failure);
    if (!value) {
        throw Refusal{u"Nothing is stored under \"%1\"."_s.arg(arguments.first())};
    }
    print(describe(*value, withType));
}

PropertyListValue parseBool(const QString &text)
{
    if (text != u"true" && text != u"false") {
        throw Refusal{u"A bool is true or false, not \"%1\"."_s.arg(text)};
    }
    return text == u"true";
}

PropertyListValue parseInt(const QString &text)
{
    bool isNumber = false;
    const qint64 number = text.toLongLong(&isNumber);
    if (!isNumber || text != text.trimmed()) {
        throw Refusal{u"An int is a whole number of 64 bits, not \"%1\"."_s.arg(text)};
    }
    return number;
}

PropertyListValue parseDouble(const QString &text)
{
    const std::optional<double> number = toNumber(text);
    if (!number) {
        throw Refusal{u"A double is a finite number such as 1.5 or 2e3, not \"%1\"."_s.arg(text)};
    }
    return *number;
}

PropertyListValue parseString(const QString &text)
{
    return text;
}

PropertyListValue parseDate(const QString &text)
{
    QDateTime date = QDateTime::fromString(text, Qt::ISODateWithMs);
    if (!date.isValid()) {
        throw Refusal{u"A date is written like 2026-11-21T09:30:00Z, not \"%1\"."_s.arg(text)};
    }
    if (date.timeSpec() == Qt::LocalTime) {
        date.setTimeZone(QTimeZone::utc());
    }
    return Date{double(date.toMSecsSinceEpoch()) / 1000};
}

PropertyListValue parseData(const QString &text)
{
    const auto data = QByteArray::fromBase64Encoding(text.toUtf8(), QByteArray::AbortOnBase64DecodingErrors);
    if (!data) {
        throw Refusal{u"Data is written in Base64, and this is not."_s};
    }
    return *data;
}

struct StoredType {
    QStringView flag;
    PropertyListValue (*parse)(const QString &text);
};

constexpr std::array<StoredType, 6> storedTypes = {{
    {u"--bool", parseBool},
    {u"--int", parseInt},
    {u"--double", parseDouble},
    {u"--string", parseString},
    {u"--date", parseDate},
    {u"--data", parseData},
}};

void write(const QStringList &arguments)
{
    expectArguments(arguments, {u"KEY"_s, u"The type"_s, u"VALUE"_s});
    const QString &key = arguments.at(0);
    const auto *type = std::find_if(storedTypes.begin(), storedTypes.end(),
                                    [&](const StoredType &known) { return known.flag == arguments.at(1); });
    if (type == storedTypes.end()) {
        throw UsageError{u"\"%1\" is no type of value."_s.arg(arguments.at(1))};
    }
    expectNoFailure(Shared::d().set(key, type->parse(arguments.at(2))),
                    u"\"%1\" could not be stored"_s.arg(key));
}

void remove(const QStringList &arguments)
{
    expectNoFlags(arguments);
    expectArguments(arguments, {u"KEY"_s});
    const QString &key = arguments.first();
    expectNoFailure(Shared::d().remove(key), u"\"%1\" could not be deleted"_s.arg(key));
}

} // namespace

void defaults(QStringList &arguments)
{
    expectArguments(arguments, {u"read, write or delete"_s}, arguments.size());
    const QString action = arguments.takeFirst();
    if (action == u"read") {
        read(arguments);
    } else if (action == u"write") {
        write(arguments);
    } else if (action == u"delete") {
        remove(arguments);
    } else {
        throw UsageError{u"\"%1\" is none of read, write and delete."_s.arg(action)};
    }
}

} // namespace kavrin::ctl
