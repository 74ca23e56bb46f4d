// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Console.h"
#include "tools/kavrinctl/Setting.h"

#include "screens/search/ShownEntries.h"
#include "store/Prefs.h"

#include <QJsonArray>
#include <QJsonObject>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;

/// The members that a kind adds to its item.
struct KindMembers {
    QJsonObject operator()(const catalogue::Toggle &toggle) const
    {
        return {{u"kind"_s, u"toggle"_s}, {u"default"_s, toggle.defaultValue}};
    }

    QJsonObject operator()(const catalogue::Slider &slider) const
    {
        return {
            {u"kind"_s, u"slider"_s},
            {u"default"_s, slider.defaultValue},
            {u"range"_s, QJsonArray{slider.lower, slider.upper}},
            {u"step"_s, slider.step},
            {u"unit"_s, slider.unit},
        };
    }

    QJsonObject operator()(const catalogue::Choice &choice) const
    {
        QJsonArray options;
        for (const Prefs::Opt &option : choice.options) {
            options.append(QJsonObject{{u"v"_s, option.v}, {u"t"_s, option.t}});
        }
        return {{u"kind"_s, u"choice"_s}, {u"default"_s, choice.defaultValue}, {u"options"_s, options}};
    }

    QJsonObject operator()(const catalogue::Text &text) const
    {
        return {{u"kind"_s, u"text"_s}, {u"default"_s, text.defaultValue}, {u"secret"_s, text.secret}};
    }

    QJsonObject operator()(const catalogue::Action &action) const
    {
        return {{u"kind"_s, u"action"_s}, {u"action"_s, action.identifier}};
    }
};

QJsonObject itemObject(const Prefs::Item &item)
{
    QJsonObject object = std::visit(KindMembers(), item.kind);
    object.insert(u"key"_s, item.key);
    object.insert(u"title"_s, item.title);
    object.insert(u"footer"_s, item.footer ? QJsonValue(*item.footer) : QJsonValue());
    object.insert(u"visible"_s, Prefs::isVisible(item.key));
    return object;
}

QJsonObject sectionObject(const Prefs::Sect &section)
{
    QJsonArray items;
    for (const Prefs::Item &item : section.items) {
        items.append(itemObject(item));
    }
    return {{u"id"_s, section.id()}, {u"title"_s, section.title}, {u"items"_s, items}};
}

QJsonObject pageObject(const Prefs::Page &page)
{
    QJsonArray sections;
    for (const Prefs::Sect &section : page.sections) {
        sections.append(sectionObject(section));
    }
    return {{u"id"_s, page.id}, {u"title"_s, page.title}, {u"icon"_s, page.icon}, {u"sections"_s, sections}};
}

void printPage(const Prefs::Page &page)
{
    print(page.title);
    for (const Prefs::Sect &section : page.sections) {
        print(u"  "_s + section.title);
        for (const Prefs::Item &item : section.items) {
            print(u"    %1 %2 %3"_s.arg(item.key, -18).arg(displayValue(item), -24).arg(item.title));
        }
    }
}

void printFound(const search::Entry &entry)
{
    if (entry.key.isEmpty()) {
        print(entry.title);
        return;
    }
    const Prefs::Item item = Prefs::items().value(entry.key);
    const QString where = entry.pageTitle + u" › "_s + entry.section;
    print(u"%1 %2 %3 (%4)"_s.arg(item.key, -18).arg(displayValue(item), -24).arg(entry.title, where));
}

void find(const QString &words)
{
    const search::Index index(search::shownEntries());
    const std::vector<search::Entry> found = index.find(words);
    if (found.empty()) {
        throw Refusal{u"Nothing was found for \"%1\"."_s.arg(words)};
    }
    std::for_each(found.begin(), found.end(), printFound);
}

} // namespace

void catalogue(QStringList &arguments)
{
    const bool asJson = takeFlag(arguments, u"--json"_s);
    const bool finds = takeFlag(arguments, u"--find"_s);
    expectNoFlags(arguments);
    if (finds && asJson) {
        throw UsageError{u"Either --find or --json."_s};
    }
    expectArguments(arguments, finds ? QStringList{u"WORDS"_s} : QStringList(), finds ? arguments.size() : 0);
    expectReadableSettings();
    if (finds) {
        find(arguments.join(u' '));
        return;
    }
    if (!asJson) {
        std::for_each(Prefs::pages().begin(), Prefs::pages().end(), printPage);
        return;
    }
    QJsonArray pages;
    for (const Prefs::Page &page : Prefs::pages()) {
        pages.append(pageObject(page));
    }
    print(pages);
}

} // namespace kavrin::ctl
