// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Console.h"
#include "tools/kavrinctl/Setting.h"

#include "store/Prefs.h"
#include "store/Shared.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;

void show(bool asJson)
{
    const QStringList order = Prefs::toolOrder();
    const std::set<QString> hidden = Prefs::toolHidden();
    if (asJson) {
        const QStringList sorted(hidden.begin(), hidden.end());
        print(QJsonObject{{u"order"_s, QJsonArray::fromStringList(order)},
                          {u"hidden"_s, QJsonArray::fromStringList(sorted)}});
        return;
    }
    for (const QString &id : order) {
        print(hidden.contains(id) ? id + u" (hidden)"_s : id);
    }
}

/// The list as it is stored: identifiers joined by commas. Throws Refusal for a list that the toolbar editor
/// could not make.
QStringList parseList(const QString &text)
{
    const std::vector<Prefs::Tool> &allTools = Prefs::toolIDs();
    QStringList ids = text.split(u',', Qt::SkipEmptyParts);
    for (const QString &id : ids) {
        const bool isKnown = std::any_of(allTools.begin(), allTools.end(),
                                         [&](const Prefs::Tool &tool) { return tool.id == id; });
        if (!isKnown) {
            throw Refusal{u"There is no tool \"%1\". \"kavrinctl tools\" lists them all."_s.arg(id)};
        }
    }
    if (ids.removeDuplicates() > 0) {
        throw Refusal{u"Each tool stands in a list once."_s};
    }
    return ids;
}

void change(const QString &orderText, const QString &hiddenText)
{
    const QStringList order = parseList(orderText);
    const QStringList hidden = parseList(hiddenText);
    if (hidden.contains(u"settings"_s)) {
        throw Refusal{u"\"settings\" cannot be hidden."_s};
    }
    expectNoFailure(Prefs::store(Prefs::toolChanges(order, {hidden.begin(), hidden.end()})),
                    u"The toolbar could not be stored"_s);
}

} // namespace

void tools(QStringList &arguments)
{
    if (arguments.value(0) == u"set") {
        expectArguments(arguments, {u"set"_s, u"ORDER"_s, u"HIDDEN"_s});
        change(arguments.at(1), arguments.at(2));
        return;
    }
    const bool asJson = takeFlag(arguments, u"--json"_s);
    expectNoFlags(arguments);
    expectArguments(arguments, {});
    expectReadableSettings();
    show(asJson);
}

} // namespace kavrin::ctl
