// SPDX-License-Identifier: MIT
#pragma once

#include "screens/preview/KeyboardLook.h"
#include "store/Prefs.h"
#include "support/Paths.h"

#include <QFile>
#include <QStringList>

#include <vector>

namespace kavrin::test
{

/// Settings that are stored together.
using Settings = Changes;

/// Stores these settings, and removes all others that the preview reads.
inline void storeOnly(const Settings &settings)
{
    Settings all;
    for (const QString &key : KeyboardLook::keys()) {
        all.push_back({key, std::nullopt});
    }
    all.insert(all.end(), settings.begin(), settings.end());
    Prefs::submit(all);
}

/// The look with these settings, and the defaults of all others.
inline KeyboardLook lookWith(const Settings &settings)
{
    storeOnly(settings);
    return KeyboardLook::stored();
}

/// The accent colours.
inline QStringList accents()
{
    const Prefs::Item item = Prefs::items().value(QStringLiteral("accent"));
    QStringList values;
    for (const Prefs::Opt &option : std::get<catalogue::Choice>(item.kind).options) {
        values.append(option.v);
    }
    return values;
}

/// Each slider that the preview draws at its least and at its greatest value, all of them so at once, and
/// nothing changed.
inline std::vector<Settings> extremes()
{
    std::vector<Settings> all = {{}, {}, {}};
    for (const QString &key : KeyboardLook::keys()) {
        const Prefs::Item item = Prefs::items().value(key);
        if (const auto *slider = std::get_if<catalogue::Slider>(&item.kind)) {
            all[1].push_back({key, slider->lower});
            all[2].push_back({key, slider->upper});
            all.push_back({{key, slider->lower}});
            all.push_back({{key, slider->upper}});
        }
    }
    return all;
}

/// The document whose formulas the preview draws by.
inline QString document()
{
    QFile file(sourcePath("docs/settings.md"));
    return file.open(QFile::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// For the messages of a test.
inline QString describe(const Settings &settings)
{
    QStringList texts;
    for (const Change &change : settings) {
        const auto *number = change.value ? std::get_if<double>(&*change.value) : nullptr;
        texts.append(change.key + (number != nullptr ? QStringLiteral(" %1").arg(*number) : QString()));
    }
    return texts.join(QStringLiteral(", "));
}

} // namespace kavrin::test
