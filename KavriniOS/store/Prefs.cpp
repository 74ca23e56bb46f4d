// SPDX-License-Identifier: MIT
#include "store/Prefs.h"

#include "store/PrefsCache.h"
#include "store/Shared.h"
#include "store/SuiteWriter.h"

#include <QLocale>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// The item's kind if it is a `Wanted`, or null.
template <typename Wanted> const Wanted *itemKind(const QString &key)
{
    const auto item = Prefs::items().find(key);
    return item == Prefs::items().end() ? nullptr : std::get_if<Wanted>(&item->kind);
}

template <typename T> std::optional<T> as(const PropertyListValue &value);

template <> std::optional<bool> as<bool>(const PropertyListValue &value)
{
    if (const auto *boolean = std::get_if<bool>(&value)) {
        return *boolean;
    }
    const auto *integer = std::get_if<qint64>(&value);
    if (integer != nullptr && (*integer == 0 || *integer == 1)) {
        return *integer == 1;
    }
    const auto *number = std::get_if<double>(&value);
    if (number != nullptr && (*number == 0.0 || *number == 1.0)) {
        return *number == 1.0;
    }
    return std::nullopt;
}

template <> std::optional<double> as<double>(const PropertyListValue &value)
{
    if (const auto *number = std::get_if<double>(&value)) {
        return *number;
    }
    if (const auto *integer = std::get_if<qint64>(&value)) {
        return double(*integer);
    }
    if (const auto *boolean = std::get_if<bool>(&value)) {
        return *boolean ? 1.0 : 0.0;
    }
    return std::nullopt;
}

template <> std::optional<QString> as<QString>(const PropertyListValue &value)
{
    const auto *string = std::get_if<QString>(&value);
    return string == nullptr ? std::nullopt : std::optional(*string);
}

template <typename T> T defaultOf(const QString &key);

template <> bool defaultOf<bool>(const QString &key)
{
    const auto *toggle = itemKind<catalogue::Toggle>(key);
    return toggle != nullptr && toggle->defaultValue;
}

template <> double defaultOf<double>(const QString &key)
{
    const auto *slider = itemKind<catalogue::Slider>(key);
    return slider == nullptr ? 0 : slider->defaultValue;
}

template <> QString defaultOf<QString>(const QString &key)
{
    if (const auto *choice = itemKind<catalogue::Choice>(key)) {
        return choice->defaultValue;
    }
    const auto *text = itemKind<catalogue::Text>(key);
    return text == nullptr ? QString() : text->defaultValue;
}

template <typename T> T read(const QString &key)
{
    const std::optional<PropertyListValue> stored = PrefsCache::shared().find(key);
    std::optional<T> value = stored ? as<T>(*stored) : std::nullopt;
    return value ? *std::move(value) : defaultOf<T>(key);
}

/// Adds the time that tells the keyboard of the change.
Changes stamped(Changes settings)
{
    settings.push_back({u"settingsRevision"_s, Date::now().secondsSince1970});
    return settings;
}

QString twoDecimals(double value)
{
    std::array<char, 512> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), value, std::chars_format::fixed, 2).ptr;
    return QString::fromLatin1(digits.data(), end - digits.data());
}

bool fitsInteger(double value)
{
    constexpr double limit = 9223372036854775808.0; // 2^63
    return value >= -limit && value < limit;
}

qint64 toInteger(double value)
{
    if (!fitsInteger(value)) {
        qFatal("A setting's value is too large to be shown: it does not fit into 64 bits.");
    }
    return qint64(value);
}

QString withUnit(const QString &number, const QString &unit)
{
    if (unit.isEmpty()) {
        return number;
    }
    return unit == u"%" ? number + unit : number + QLatin1Char(' ') + unit;
}

} // namespace

template <> bool Prefs::get<bool>(const QString &key)
{
    return read<bool>(key);
}

template <> double Prefs::get<double>(const QString &key)
{
    return read<double>(key);
}

template <> QString Prefs::get<QString>(const QString &key)
{
    return read<QString>(key);
}

void Prefs::set(const QString &key, const PropertyListValue &value)
{
    submit({{key, value}});
}

QFuture<std::optional<Error>> Prefs::submit(const Changes &settings)
{
    PrefsCache::shared().show(settings);
    return SuiteWriter::write(stamped(settings),
                              [settings](bool isStored) { PrefsCache::shared().settle(settings, isStored); });
}

std::optional<Error> Prefs::store(const Changes &settings)
{
    PrefsCache::shared().show(settings);
    std::optional<Error> failure = Shared::d().write(stamped(settings));
    PrefsCache::shared().settle(settings, !failure);
    return failure;
}

QFuture<std::optional<Error>> Prefs::reset(const QStringList &keys, const std::shared_ptr<PastChange> &past)
{
    const Changes changes = resetChanges(keys);
    PrefsCache::shared().show(changes);
    PrefsCache::shared().clear();
    const auto plan = [keys, past, changes](const PropertyListDictionary &stored) {
        if (past) {
            *past = {keys, stored, {}};
        }
        return stamped(changes);
    };
    return SuiteWriter::edit(keys, plan,
                             [changes](bool isStored) { PrefsCache::shared().settle(changes, isStored); });
}

QFuture<std::optional<Error>> Prefs::resetAll(const std::shared_ptr<PastChange> &past)
{
    return reset(resettableKeys(), past);
}

QFuture<std::optional<Error>> Prefs::takeBack(const PastChange &past)
{
    return SuiteWriter::edit(past.keys, [past](const PropertyListDictionary &stored) {
        const Changes changes = past.reversal(stored);
        return changes.empty() ? changes : stamped(changes);
    });
}

void Prefs::forget()
{
    PrefsCache::shared().clear();
}

void Prefs::forgetKeys()
{
    for (const Item &item : items()) {
        const auto *text = std::get_if<catalogue::Text>(&item.kind);
        if (text != nullptr && text->secret) {
            PrefsCache::shared().forget(item.key);
        }
    }
}

bool Prefs::isVisible(const QString &key)
{
    const auto item = items().find(key);
    return item == items().end()
        || std::ranges::all_of(item->conditions, [](const catalogue::Condition &condition) {
               return (get<QString>(condition.key) == condition.value) == condition.isEqual;
           });
}

QString Prefs::format(double value, const QString &unit)
{
    const bool hasFraction = value != std::round(value);
    return withUnit(hasFraction ? twoDecimals(value) : QString::number(toInteger(value)), unit);
}

QString Prefs::formatStored(double value, const QString &unit)
{
    if (fitsInteger(value)) {
        return format(value, unit);
    }
    return withUnit(QString::number(value, 'e', QLocale::FloatingPointShortest), unit);
}

} // namespace kavrin
