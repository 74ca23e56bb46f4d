// SPDX-License-Identifier: MIT
#include "store/Prefs.h"

#include "store/PrefsCache.h"
#include "store/Shared.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>

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

/// A setting that was read.
template <typename T> struct Setting {
    QString key;
    quint64 revision = 0; ///< the cache's when it was read
    T value{};
};

template <typename T> Setting<T> read(const QString &key)
{
    const auto [stored, revision] = PrefsCache::shared().find(key);
    std::optional<T> value = stored ? as<T>(*stored) : std::nullopt;
    return {key, revision, value ? *std::move(value) : defaultOf<T>(key)};
}

/// A setting, of which the calling thread remembers what it has read. It knows a key again by where its text
/// is in memory, without lock and hash: who reads a setting often has one text for its key. No other text
/// gets to that place, as the key is kept.
template <typename T> T remembered(const QString &key)
{
    thread_local std::array<Setting<T>, 128> settings;
    Setting<T> &known = settings[quintptr(key.constData()) / alignof(std::max_align_t) % settings.size()];
    const bool isSameText = known.key.constData() == key.constData() && known.key.size() == key.size();
    if (!isSameText || known.revision != PrefsCache::shared().revision()) {
        known = read<T>(key);
    }
    return known.value;
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

template <> bool Prefs::get<bool>(const QString &key)
{
    return remembered<bool>(key);
}

template <> double Prefs::get<double>(const QString &key)
{
    return remembered<double>(key);
}

template <> QString Prefs::get<QString>(const QString &key)
{
    return remembered<QString>(key);
}

bool Prefs::set(const QString &key, const PropertyListValue &value)
{
    if (!Shared::d().set(key, value)) {
        return false;
    }
    PrefsCache::shared().insert(key, value);
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
