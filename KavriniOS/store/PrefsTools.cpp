// SPDX-License-Identifier: MIT
#include "store/Prefs.h"

#include <algorithm>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const QString orderKey = u"toolOrder"_s;
const QString hiddenKey = u"toolHidden"_s;
constexpr QChar separator = u',';

QStringList storedList(const QString &key)
{
    return Prefs::get<QString>(key).split(separator, Qt::SkipEmptyParts);
}

bool isTool(const QString &id)
{
    const auto &tools = Prefs::toolIDs();
    return std::any_of(tools.begin(), tools.end(), [&](const Prefs::Tool &tool) { return tool.id == id; });
}

} // namespace

const std::vector<Prefs::Tool> &Prefs::toolIDs()
{
    static const std::vector<Tool> tools = {
        {u"settings"_s, u"Settings"_s, u"gearshape"_s},
        {u"clipboard"_s, u"Clipboard"_s, u"doc.on.clipboard"_s},
        {u"emoji"_s, u"Emoji"_s, u"face.smiling"_s},
        {u"gif"_s, u"GIFs"_s, u"photo.on.rectangle.angled"_s},
        {u"sticker"_s, u"Stickers"_s, u"custom.sticker"_s},
        {u"translate"_s, u"Translate"_s, u"character.bubble"_s},
        {u"search"_s, u"Web search"_s, u"magnifyingglass"_s},
        {u"youtube"_s, u"YouTube"_s, u"play.rectangle.fill"_s},
        {u"contacts"_s, u"Contacts"_s, u"person.crop.circle"_s},
        {u"language"_s, u"Language (Türkçe / English)"_s, u"globe.europe.africa"_s},
    };
    return tools;
}

QStringList Prefs::toolOrder()
{
    QStringList order;
    for (const QString &id : storedList(orderKey)) {
        if (isTool(id)) {
            order.append(id);
        }
    }
    for (const Tool &tool : toolIDs()) {
        if (!order.contains(tool.id)) {
            order.append(tool.id);
        }
    }
    return order;
}

std::set<QString> Prefs::toolHidden()
{
    const QStringList stored = storedList(hiddenKey);
    std::set<QString> hidden(stored.begin(), stored.end());
    hidden.erase(u"settings"_s);
    return hidden;
}

Changes Prefs::toolChanges(const QStringList &order, const std::set<QString> &hidden)
{
    const QStringList sorted(hidden.begin(), hidden.end());
    return {{orderKey, order.join(separator)}, {hiddenKey, sorted.join(separator)}};
}

void Prefs::setTools(const QStringList &order, const std::set<QString> &hidden)
{
    submit(toolChanges(order, hidden));
}

} // namespace kavrin
