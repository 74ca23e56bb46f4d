// SPDX-License-Identifier: MIT
#include "store/Prefs.h"

#include "store/PrefsCache.h"
#include "store/Shared.h"

#include <array>
#include <charconv>
#include <cmath>

namespace kavrin
{

namespace
{

/// The item's kind where it is a `Wanted`, or null.
template <typename Wanted> const Wanted *itemKind(const QString &key)
{
    const auto item = Prefs::items().find(key);
    return item == Prefs::items().end() ? nullptr : std::get_if<Wanted>(&item->kind);
}

std::optional<bool> asBool(const PropertyListValue &value)
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

std::optional<double> asDouble(const PropertyListValue &value)
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

QString defaultString(const QString &key)
{
    if (const auto *choice = itemKind<catalogue::Choice>(key)) {
        return choice->defaultValue;
    }
    const auto *text = itemKind<catalogue::Text>(key);
    return text == nullptr ? QString() : text->defaultValue;
}

QString twoDecimals(double value)
{
    std::array<char, 512> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), value, std::chars_format::fixed, 2).ptr;
    return QString::fromLatin1(digits.data(), end - digits.data());
}

qint64 toInteger(double value)
{
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (!(value >= -limit && value < limit)) {
        qFatal("A setting's value is too large to be shown: it does not fit into 64 bits.");
    }
    return qint64(value);
}

} // namespace

PrefsCache &PrefsCache::shared()
{
    // Never destroyed: threads may use it until the process has ended.
    static auto *const cache = new PrefsCache;
    return *cache;
}

std::optional<PropertyListValue> Prefs::raw(const QString &key)
{
    PrefsCache &cache = PrefsCache::shared();
    const std::scoped_lock lock(cache.mutex);
    const auto cached = cache.values.constFind(key);
    if (cached != cache.values.constEnd()) {
        return *cached;
    }
    const std::optional<PropertyListValue> stored = Shared::d().object(key);
    if (stored || Shared::d().lastError().isEmpty()) {
        cache.values.insert(key, stored);
    }
    return stored;
}

template <> bool Prefs::get<bool>(const QString &key)
{
    const std::optional<PropertyListValue> stored = raw(key);
    const std::optional<bool> value = stored ? asBool(*stored) : std::nullopt;
    if (value) {
        return *value;
    }
    const auto *toggle = itemKind<catalogue::Toggle>(key);
    return toggle != nullptr && toggle->defaultValue;
}

template <> double Prefs::get<double>(const QString &key)
{
    const std::optional<PropertyListValue> stored = raw(key);
    const std::optional<double> value = stored ? asDouble(*stored) : std::nullopt;
    if (value) {
        return *value;
    }
    const auto *slider = itemKind<catalogue::Slider>(key);
    return slider == nullptr ? 0 : slider->defaultValue;
}

template <> QString Prefs::get<QString>(const QString &key)
{
    const std::optional<PropertyListValue> stored = raw(key);
    const auto *string = stored ? std::get_if<QString>(&*stored) : nullptr;
    return string == nullptr ? defaultString(key) : *string;
}

bool Prefs::set(const QString &key, const PropertyListValue &value)
{
    if (!Shared::d().set(key, value)) {
        return false;
    }
    {
        PrefsCache &cache = PrefsCache::shared();
        const std::scoped_lock lock(cache.mutex);
        cache.values.insert(key, value);
    }
    return stampRevision();
}

bool Prefs::stampRevision()
{
    return Shared::d().set(QStringLiteral("settingsRevision"), Date::now().secondsSince1970);
}

bool Prefs::isVisible(const QString &key)
{
    const auto is = [](const QString &setting, QStringView value) { return get<QString>(setting) == value; };
    const auto usesApi = [&] { return is(QStringLiteral("dictMode"), u"api"); };
    const auto usesService = [&](QStringView name) {
        return usesApi() && is(QStringLiteral("provider"), name);
    };
    if (key == u"openaiKey" || key == u"openaiModel") {
        return usesService(u"openai");
    }
    if (key == u"geminiKey" || key == u"geminiModel") {
        return usesService(u"gemini");
    }
    if (key == u"customURL" || key == u"customKey" || key == u"customModel") {
        return usesService(u"custom");
    }
    if (key == u"provider") {
        return usesApi();
    }
    if (key == u"langExtra_en") {
        return !is(QStringLiteral("language"), u"en");
    }
    if (key == u"langExtra_tr") {
        return !is(QStringLiteral("language"), u"tr");
    }
    return true;
}

QString Prefs::format(double value, const QString &unit)
{
    const bool hasFraction = value != std::round(value);
    QString number = hasFraction ? twoDecimals(value) : QString::number(toInteger(value));
    if (unit.isEmpty()) {
        return number;
    }
    return unit == u"%" ? number + unit : number + QLatin1Char(' ') + unit;
}

} // namespace kavrin
