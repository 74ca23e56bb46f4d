// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Console.h"
#include "tools/kavrinctl/Setting.h"
#include "tools/kavrinctl/Suggestion.h"

#include "store/JsonSerialization.h"
#include "store/SettingValue.h"
#include "store/Shared.h"

#include <cmath>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;

/// Reads a setting by its kind.
struct ReadValue {
    const QString &key;

    PropertyListValue operator()(const catalogue::Toggle &) const { return Prefs::get<bool>(key); }
    PropertyListValue operator()(const catalogue::Slider &) const { return Prefs::get<double>(key); }
    PropertyListValue operator()(const catalogue::Choice &) const { return Prefs::get<QString>(key); }
    PropertyListValue operator()(const catalogue::Text &) const { return Prefs::get<QString>(key); }
    PropertyListValue operator()(const catalogue::Action &) const { return QString(); }
};

/// A value as it is printed.
QString bareText(const PropertyListValue &value)
{
    if (const auto *boolean = std::get_if<bool>(&value)) {
        return *boolean ? u"true"_s : u"false"_s;
    }
    if (const auto *number = std::get_if<double>(&value)) {
        return fromNumber(*number);
    }
    return std::get<QString>(value);
}

/// Reads a person's text as a value that the setting's control could enter. Throws Refusal.
struct ParseValue {
    const Prefs::Item &item;
    const QString &text;

    PropertyListValue operator()(const catalogue::Toggle &) const
    {
        const QString word = text.toLower();
        if (word == u"true" || word == u"on" || word == u"yes") {
            return true;
        }
        if (word == u"false" || word == u"off" || word == u"no") {
            return false;
        }
        throw misfit();
    }

    PropertyListValue operator()(const catalogue::Slider &slider) const
    {
        const std::optional<double> number = toNumber(text);
        if (!number || !fittingValue(item.kind, *number)) {
            throw misfit();
        }
        const double steps = *number / slider.step;
        constexpr double tolerance = 1e-6;
        if (std::abs(steps - std::round(steps)) > tolerance) {
            throw Refusal{u"%1 goes in steps of %2, and %3 lies between two of them."_s.arg(
                item.key, fromNumber(slider.step), text)};
        }
        return *number;
    }

    PropertyListValue operator()(const catalogue::Choice &) const
    {
        if (!fittingValue(item.kind, text)) {
            throw misfit();
        }
        return text;
    }

    PropertyListValue operator()(const catalogue::Text &) const
    {
        const std::optional<PropertyListValue> value = fittingValue(item.kind, text);
        if (!value) {
            throw Refusal{u"%1 is %2."_s.arg(item.key, fittingValues(item.kind))};
        }
        return *value;
    }

    PropertyListValue operator()(const catalogue::Action &) const { return text; }

private:
    [[nodiscard]] Refusal misfit() const
    {
        return {u"%1 is %2, not \"%3\"."_s.arg(item.key, fittingValues(item.kind), text)};
    }
};

} // namespace

QStringList settingKeys()
{
    QStringList keys;
    for (const Prefs::Item &item : Prefs::items()) {
        if (!std::holds_alternative<catalogue::Action>(item.kind)) {
            keys.append(item.key);
        }
    }
    keys.sort();
    return keys;
}

QString askForValue(const QString &key)
{
    QString value = askForLine(key + u": "_s);
    if (value.isEmpty()) {
        throw Refusal{
            u"Nothing was entered, so %1 is as it was. \"kavrinctl reset %1\" removes it."_s.arg(key)};
    }
    return value;
}

const Prefs::Item &findSetting(const QString &key)
{
    const auto item = Prefs::items().find(key);
    if (item == Prefs::items().end()) {
        throw Refusal{u"There is no setting \"%1\". %2"_s.arg(
            key, suggestion(key, settingKeys(), u"\"kavrinctl catalogue\" lists them all."_s))};
    }
    if (std::holds_alternative<catalogue::Action>(item->kind)) {
        throw Refusal{u"\"%1\" is something to do in the application and has no value."_s.arg(key)};
    }
    return *item;
}

PropertyListValue enteredValue(const Prefs::Item &item, const QString &text)
{
    return std::visit(ParseValue{item, text}, item.kind);
}

void expectReadableSettings()
{
    expectNoFailure(Shared::d().objects({}).failure, u"The settings could not be read"_s);
}

QString displayValue(const Prefs::Item &item)
{
    const PropertyListValue value = std::visit(ReadValue{item.key}, item.kind);
    if (const auto *slider = std::get_if<catalogue::Slider>(&item.kind)) {
        return Prefs::formatStored(std::get<double>(value), slider->unit);
    }
    const auto *text = std::get_if<catalogue::Text>(&item.kind);
    const bool isMasked = text != nullptr && text->secret && !bareText(value).isEmpty();
    return isMasked ? u"••••"_s : bareText(value);
}

void get(QStringList &arguments)
{
    const bool asJson = takeFlag(arguments, u"--json"_s);
    expectNoFlags(arguments);
    expectArguments(arguments, {u"KEY"_s});
    const Prefs::Item &item = findSetting(arguments.first());
    expectReadableSettings();
    const PropertyListValue value = std::visit(ReadValue{item.key}, item.kind);
    if (asJson) {
        print(toJson(value).value_or(QJsonValue()));
    } else {
        print(bareText(value));
    }
}

void set(QStringList &arguments)
{
    expectArguments(arguments, {u"KEY"_s, u"VALUE"_s});
    const Prefs::Item &item = findSetting(arguments.at(0));
    const QString text = arguments.at(1) == u"-" ? askForValue(item.key) : arguments.at(1);
    expectNoFailure(Prefs::store({{item.key, enteredValue(item, text)}}),
                    u"%1 could not be stored"_s.arg(item.key));
}

} // namespace kavrin::ctl
