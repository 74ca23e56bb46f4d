// SPDX-License-Identifier: MIT
#include "catalogue/Catalogue.h"
#include "support/Paths.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

#include <gtest/gtest.h>

#include <algorithm>

/// The catalogue against catalogue.json, a table of its contents that was written down independently of it.
namespace kavrin::catalogue
{
namespace
{

using namespace Qt::StringLiterals;

struct KindToJson {
    QJsonObject operator()(const Toggle &toggle) const
    {
        return {{u"kind"_s, u"toggle"_s}, {u"default"_s, toggle.defaultValue}};
    }

    QJsonObject operator()(const Slider &slider) const
    {
        return {{u"kind"_s, u"slider"_s},
                {u"default"_s, slider.defaultValue},
                {u"range"_s, QJsonArray{slider.lower, slider.upper}},
                {u"step"_s, slider.step},
                {u"unit"_s, slider.unit}};
    }

    QJsonObject operator()(const Choice &choice) const
    {
        QJsonArray options;
        for (const Opt &option : choice.options) {
            options.append(QJsonObject{{u"v"_s, option.v}, {u"t"_s, option.t}});
        }
        return {{u"kind"_s, u"choice"_s}, {u"default"_s, choice.defaultValue}, {u"options"_s, options}};
    }

    QJsonObject operator()(const Text &text) const
    {
        return {{u"kind"_s, u"text"_s}, {u"default"_s, text.defaultValue}, {u"secret"_s, text.secret}};
    }

    QJsonObject operator()(const Action &action) const
    {
        return {{u"kind"_s, u"action"_s}, {u"action"_s, action.identifier}};
    }
};

QJsonObject toJson(const Item &item)
{
    QJsonObject object = std::visit(KindToJson(), item.kind);
    object.insert(u"key"_s, item.key);
    object.insert(u"title"_s, item.title);
    object.insert(u"footer"_s, item.footer ? QJsonValue(*item.footer) : QJsonValue::Null);
    return object;
}

QJsonArray expectedPages()
{
    QFile file(kavrin::test::sourcePath("tests/catalogue/catalogue.json"));
    EXPECT_TRUE(file.open(QFile::ReadOnly));
    return QJsonDocument::fromJson(file.readAll()).array();
}

QByteArray text(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::vector<Item> allItems()
{
    std::vector<Item> all;
    for (const Page &page : pages()) {
        for (const Sect &section : page.sections) {
            all.insert(all.end(), section.items.begin(), section.items.end());
        }
    }
    return all;
}

template <typename KindType> std::ptrdiff_t count()
{
    return std::ranges::count_if(
        allItems(), [](const Item &item) { return std::holds_alternative<KindType>(item.kind); });
}

void expectItems(const Sect &section, const QJsonArray &expected)
{
    ASSERT_EQ(static_cast<qsizetype>(section.items.size()), expected.size());
    qsizetype index = 0;
    for (const Item &item : section.items) {
        EXPECT_EQ(text(toJson(item)), text(expected.at(index++).toObject()));
    }
}

void expectSections(const Page &page, const QJsonArray &expected)
{
    ASSERT_EQ(static_cast<qsizetype>(page.sections.size()), expected.size());
    qsizetype index = 0;
    for (const Sect &section : page.sections) {
        SCOPED_TRACE("section " + section.title.toStdString());
        const QJsonObject row = expected.at(index++).toObject();
        EXPECT_EQ(section.title, row[u"title"].toString());
        EXPECT_EQ(section.id(), row[u"id"].toString());
        expectItems(section, row[u"items"].toArray());
    }
}

TEST(CatalogueContents, AreThoseOfTheTable)
{
    const QJsonArray expected = expectedPages();
    ASSERT_EQ(static_cast<qsizetype>(pages().size()), expected.size());
    qsizetype index = 0;
    for (const Page &page : pages()) {
        SCOPED_TRACE("page " + page.id.toStdString());
        const QJsonObject row = expected.at(index++).toObject();
        EXPECT_EQ(page.id, row[u"id"].toString());
        EXPECT_EQ(page.title, row[u"title"].toString());
        EXPECT_EQ(page.icon, row[u"icon"].toString());
        expectSections(page, row[u"sections"].toArray());
    }
}

TEST(CatalogueContents, NameEveryKeyOnce)
{
    EXPECT_EQ(static_cast<std::size_t>(items().size()), allItems().size());
}

TEST(CatalogueContents, NameEveryPageOnce)
{
    QSet<QString> ids;
    for (const Page &page : pages()) {
        ids.insert(page.id);
    }
    EXPECT_EQ(static_cast<std::size_t>(ids.size()), pages().size());
    EXPECT_EQ(pages().size(), 11U);
}

TEST(CatalogueContents, CountTheItemsOfEachKind)
{
    EXPECT_EQ(count<Toggle>(), 36);
    EXPECT_EQ(count<Slider>(), 28);
    EXPECT_EQ(count<Choice>(), 15);
    EXPECT_EQ(count<Text>(), 9);
    EXPECT_EQ(count<Action>(), 9);
}

TEST(CatalogueContents, KeepEveryKeyThatAUserPastesSecret)
{
    QSet<QString> secrets;
    for (const Item &item : allItems()) {
        const Text *text = std::get_if<Text>(&item.kind);
        if (text != nullptr && text->secret) {
            secrets.insert(item.key);
        }
    }
    const QSet<QString> expected{u"openaiKey"_s, u"geminiKey"_s, u"customKey"_s,
                                 u"giphyKey"_s,  u"ytKey"_s,     u"gcseKey"_s};
    EXPECT_EQ(secrets, expected);
}

TEST(CatalogueContents, LeaveToTheKeyboardWhatOnlyItCanDo)
{
    QSet<QString> keys;
    for (const Item &item : allItems()) {
        if (item.onlyInKeyboard) {
            keys.insert(item.key);
        }
    }
    EXPECT_EQ(keys, (QSet<QString>{u"act.resize"_s, u"act.importConfig"_s, u"act.resetLearned"_s}));
}

TEST(CatalogueContents, StartEverySliderInItsRange)
{
    for (const Item &item : allItems()) {
        if (const Slider *slider = std::get_if<Slider>(&item.kind)) {
            SCOPED_TRACE(item.key.toStdString());
            EXPECT_LE(slider->lower, slider->defaultValue);
            EXPECT_LE(slider->defaultValue, slider->upper);
            EXPECT_GT(slider->step, 0);
        }
    }
}

TEST(CatalogueContents, StartEveryChoiceAtOneOfItsOptions)
{
    for (const Item &item : allItems()) {
        if (const Choice *choice = std::get_if<Choice>(&item.kind)) {
            SCOPED_TRACE(item.key.toStdString());
            EXPECT_EQ(std::ranges::count(choice->options, choice->defaultValue, &Opt::v), 1);
        }
    }
}

TEST(CatalogueContents, NameEveryActionByItsKey)
{
    for (const Item &item : allItems()) {
        if (const Action *action = std::get_if<Action>(&item.kind)) {
            EXPECT_EQ(action->identifier, item.key);
            EXPECT_TRUE(item.key.startsWith("act."_L1)) << item.key.toStdString();
        }
    }
}

} // namespace
} // namespace kavrin::catalogue
