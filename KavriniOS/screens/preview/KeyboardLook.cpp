// SPDX-License-Identifier: MIT
#include "screens/preview/KeyboardLook.h"

#include "store/Prefs.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

using Look = KeyboardLook;

template <typename T> using Members = std::vector<std::pair<QString, T Look::*>>;

const Members<double> &numbers()
{
    static const Members<double> all = {
        {u"rowH"_s, &Look::rowH},
        {u"vGap"_s, &Look::vGap},
        {u"hGap"_s, &Look::hGap},
        {u"radius"_s, &Look::radius},
        {u"bottomPad"_s, &Look::bottomPad},
        {u"widthPct"_s, &Look::widthPct},
        {u"posX"_s, &Look::posX},
        {u"landscape"_s, &Look::landscape},
        {u"numRowScale"_s, &Look::numRowScale},
        {u"capLight"_s, &Look::capLight},
        {u"capDark"_s, &Look::capDark},
        {u"fnDim"_s, &Look::fnDim},
        {u"labelSize"_s, &Look::labelSize},
        {u"trailWidth"_s, &Look::trailWidth},
    };
    return all;
}

const Members<bool> &toggles()
{
    static const Members<bool> all = {
        {u"punctKeys"_s, &Look::punctKeys},
        {u"stockLayout"_s, &Look::stockLayout},
        {u"numberRow"_s, &Look::numberRow},
        {u"spaceLabel"_s, &Look::spaceLabel},
        {u"keyBorder"_s, &Look::keyBorder},
        {u"keyShadow"_s, &Look::keyShadow},
        {u"glassPress"_s, &Look::glassPress},
        {u"boldLabels"_s, &Look::boldLabels},
        {u"popup"_s, &Look::popup},
        {u"glide"_s, &Look::glide},
        {u"trail"_s, &Look::trail},
        {u"sugPills"_s, &Look::sugPills},
        {u"suggestStrip"_s, &Look::suggestStrip},
        {u"quoteLiteral"_s, &Look::quoteLiteral},
        {u"langExtra_en"_s, &Look::langExtraEn},
        {u"langExtra_tr"_s, &Look::langExtraTr},
    };
    return all;
}

const Members<QString> &choices()
{
    static const Members<QString> all = {
        {u"hints"_s, &Look::hints},
        {u"accent"_s, &Look::accent},
        {u"language"_s, &Look::language},
    };
    return all;
}

double inRange(const QString &key)
{
    const auto slider = std::get<catalogue::Slider>(Prefs::items().value(key).kind);
    return std::clamp(Prefs::get<double>(key), slider.lower, slider.upper);
}

QString amongOptions(const QString &key)
{
    const auto choice = std::get<catalogue::Choice>(Prefs::items().value(key).kind);
    const QString value = Prefs::get<QString>(key);
    const bool isListed = std::ranges::find(choice.options, value, &Prefs::Opt::v) != choice.options.end();
    return isListed ? value : choice.defaultValue;
}

QString symbolOf(const QString &tool)
{
    const auto found = std::ranges::find(Prefs::toolIDs(), tool, &Prefs::Tool::id);
    return found == Prefs::toolIDs().end() ? QString() : found->icon;
}

QStringList shownTools()
{
    const std::set<QString> hidden = Prefs::toolHidden();
    QStringList symbols;
    for (const QString &tool : Prefs::toolOrder()) {
        if (!hidden.contains(tool)) {
            symbols.append(symbolOf(tool));
        }
    }
    return symbols;
}

} // namespace

bool KeyboardLook::writes(const QString &code) const
{
    return code == language || (code == u"tr" ? langExtraTr : langExtraEn);
}

KeyboardLook KeyboardLook::stored()
{
    KeyboardLook look;
    for (const auto &[key, member] : numbers()) {
        look.*member = inRange(key);
    }
    for (const auto &[key, member] : toggles()) {
        look.*member = Prefs::get<bool>(key);
    }
    for (const auto &[key, member] : choices()) {
        look.*member = amongOptions(key);
    }
    look.tools = shownTools();
    return look;
}

QStringList KeyboardLook::keys()
{
    QStringList keys;
    const auto append = [&keys](const auto &members) {
        for (const auto &[key, member] : members) {
            keys.append(key);
        }
    };
    append(numbers());
    append(toggles());
    append(choices());
    return keys;
}

} // namespace kavrin
