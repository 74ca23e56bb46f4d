// SPDX-License-Identifier: MIT
#pragma once

#include "store/Prefs.h"
#include "store/Shared.h"

#include <QSettings>
#include <QVariantMap>

namespace kavrin::benchmarks
{

/// Every setting of the catalogue with its default, and what dictations leave behind.
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

inline void fillSuite()
{
    const QVariantMap all = content();
    for (auto value = all.begin(); value != all.end(); ++value) {
        switch (value->typeId()) {
        case QMetaType::Bool:
            Shared::d().set(value.key(), value->toBool());
            break;
        case QMetaType::Double:
            Shared::d().set(value.key(), value->toDouble());
            break;
        default:
            Shared::d().set(value.key(), value->toString());
        }
    }
}

/// What QSettings keeps the same in. `folder` is an absolute path.
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
