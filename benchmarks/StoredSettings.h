// SPDX-License-Identifier: MIT
#pragma once

#include "store/Prefs.h"
#include "store/Shared.h"

#include <QSettings>
#include <QVariantMap>

namespace kavrin::benchmarks
{

/// Every setting of the catalogue with its default, and the keys that dictations leave.
inline QVariantMap content()
{
    QVariantMap all = {
        {QStringLiteral("dictationAlive"), 1795302000.125},
        {QStringLiteral("dictationCommand"), QString()},
        {QStringLiteral("dictationState"), QStringLiteral("done")},
        {QStringLiteral("tStamp"), 1795301990.5},
        {QStringLiteral("tUsed"), 1795301990.5},
        {QStringLiteral("transcript"), QStringLiteral("ten of clubs")},
    };
    for (const Prefs::Item &item : Prefs::items()) {
        if (const auto *toggle = std::get_if<catalogue::Toggle>(&item.kind)) {
            all.insert(item.key, toggle->defaultValue);
        } else if (const auto *slider = std::get_if<catalogue::Slider>(&item.kind)) {
            all.insert(item.key, slider->defaultValue);
        } else if (const auto *choice = std::get_if<catalogue::Choice>(&item.kind)) {
            all.insert(item.key, choice->defaultValue);
        } else if (const auto *text = std::get_if<catalogue::Text>(&item.kind)) {
            all.insert(item.key, text->defaultValue);
        }
    }
    return all;
}

inline PropertyListValue toPropertyListValue(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::Double:
        return value.toDouble();
    default:
        return value.toString();
    }
}

inline void fillSuite()
{
    Changes changes;
    const QVariantMap all = content();
    for (auto value = all.begin(); value != all.end(); ++value) {
        changes.push_back({value.key(), toPropertyListValue(*value)});
    }
    if (const std::optional<Error> failure = Shared::d().write(changes)) {
        throw *failure;
    }
}

/// The file in which QSettings keeps the same content. `folder` is an absolute path.
inline QString iniPath(const QString &folder)
{
    return folder + QStringLiteral("/settings.ini");
}

inline void fillIni(const QString &folder)
{
    QSettings settings(iniPath(folder), QSettings::IniFormat);
    const QVariantMap all = content();
    for (auto value = all.begin(); value != all.end(); ++value) {
        settings.setValue(value.key(), *value);
    }
}

} // namespace kavrin::benchmarks
