// SPDX-License-Identifier: MIT
#include "store/SettingValue.h"

#include <QLocale>
#include <QStringList>

#include <algorithm>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

QString decimal(double number)
{
    return QString::number(number, 'g', QLocale::FloatingPointShortest);
}

bool endsLine(QChar character)
{
    return character.category() == QChar::Other_Control || character.category() == QChar::Separator_Line
        || character.category() == QChar::Separator_Paragraph;
}

std::optional<double> toNumber(const PropertyListValue &value)
{
    if (const auto *integer = std::get_if<qint64>(&value)) {
        return double(*integer);
    }
    const auto *number = std::get_if<double>(&value);
    return number == nullptr ? std::nullopt : std::optional(*number);
}

struct Fit {
    using Fitting = std::optional<PropertyListValue>;

    const PropertyListValue &value;

    Fitting operator()(const catalogue::Toggle &) const
    {
        if (std::holds_alternative<bool>(value)) {
            return value;
        }
        const std::optional<double> number = toNumber(value);
        return number == 0.0 || number == 1.0 ? Fitting(number == 1.0) : std::nullopt;
    }

    Fitting operator()(const catalogue::Slider &slider) const
    {
        const std::optional<double> number = toNumber(value);
        return number && *number >= slider.lower && *number <= slider.upper ? Fitting(*number) : std::nullopt;
    }

    Fitting operator()(const catalogue::Choice &choice) const
    {
        const bool isListed = std::ranges::any_of(choice.options, [this](const catalogue::Opt &option) {
            return value == PropertyListValue(option.v);
        });
        return isListed ? Fitting(value) : std::nullopt;
    }

    Fitting operator()(const catalogue::Text &field) const
    {
        const auto *stored = std::get_if<QString>(&value);
        if (stored == nullptr) {
            return std::nullopt;
        }
        const QString text = field.secret ? stored->trimmed() : *stored;
        return isOneLine(text) ? Fitting(text) : std::nullopt;
    }

    Fitting operator()(const catalogue::Action &) const { return std::nullopt; }
};

struct Describe {
    QString operator()(const catalogue::Toggle &) const { return u"true or false"_s; }

    QString operator()(const catalogue::Slider &slider) const
    {
        return u"a number from %1 to %2"_s.arg(decimal(slider.lower), decimal(slider.upper));
    }

    QString operator()(const catalogue::Choice &choice) const
    {
        QStringList values;
        for (const catalogue::Opt &option : choice.options) {
            values.append(option.v);
        }
        return u"one of "_s + values.join(u", "_s);
    }

    QString operator()(const catalogue::Text &) const
    {
        return u"one line of text, without control characters"_s;
    }

    QString operator()(const catalogue::Action &) const
    {
        return u"something to do in the application, and has no value"_s;
    }
};

} // namespace

std::optional<PropertyListValue> fittingValue(const catalogue::Kind &kind, const PropertyListValue &value)
{
    return std::visit(Fit{value}, kind);
}

QString fittingValues(const catalogue::Kind &kind)
{
    return std::visit(Describe(), kind);
}

bool isOneLine(const QString &text)
{
    return std::ranges::none_of(text, endsLine);
}

QString toOneLine(QString text)
{
    return text.removeIf(endsLine);
}

} // namespace kavrin
