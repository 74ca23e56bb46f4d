// SPDX-License-Identifier: MIT
#include "catalogue/Catalogue.h"

#include <gtest/gtest.h>

#include <thread>

namespace kavrin::catalogue
{
namespace
{

using namespace Qt::StringLiterals;

Item toggle(const QString &key, const QString &title)
{
    return {key, title, Toggle{false}};
}

TEST(Sect, IsIdentifiedByItsTitleAndItsFirstKey)
{
    const Sect section{u"Rows"_s, {toggle(u"first"_s, {}), toggle(u"second"_s, {})}};
    EXPECT_EQ(section.id(), u"Rowsfirst"_s);
}

TEST(Sect, IsIdentifiedByItsFirstKeyAloneWithoutTitle)
{
    const Sect section{{}, {toggle(u"first"_s, {})}};
    EXPECT_EQ(section.id(), u"first"_s);
}

TEST(Sect, IsIdentifiedByItsTitleAloneWithoutItems)
{
    const Sect section{u"Rows"_s, {}};
    EXPECT_EQ(section.id(), u"Rows"_s);
}

TEST(ItemsByKey, HoldsTheItemsOfEveryPageAndSection)
{
    const Item a = toggle(u"a"_s, u"A"_s);
    const Item b = toggle(u"b"_s, u"B"_s);
    const Item c = toggle(u"c"_s, u"C"_s);
    const std::vector<Page> pages{
        {u"one"_s, {}, {}, {{u"First"_s, {a}}, {u"Second"_s, {b}}}},
        {u"two"_s, {}, {}, {{u"Third"_s, {c}}}},
    };
    const QHash<QString, Item> expected{{u"a"_s, a}, {u"b"_s, b}, {u"c"_s, c}};
    EXPECT_EQ(itemsByKey(pages), expected);
}

TEST(ItemsByKey, LetsALaterItemReplaceAnEarlierOneWithTheSameKey)
{
    const Item earlier = toggle(u"key"_s, u"Earlier"_s);
    const Item later = toggle(u"key"_s, u"Later"_s);
    const struct {
        const char *where;
        std::vector<Page> pages;
    } cases[] = {
        {"in one section", {{{}, {}, {}, {{{}, {earlier, later}}}}}},
        {"in another section", {{{}, {}, {}, {{{}, {earlier}}, {{}, {later}}}}}},
        {"on another page", {{{}, {}, {}, {{{}, {earlier}}}}, {{}, {}, {}, {{{}, {later}}}}}},
    };
    for (const auto &[where, pages] : cases) {
        SCOPED_TRACE(where);
        const QHash<QString, Item> expected{{u"key"_s, later}};
        EXPECT_EQ(itemsByKey(pages), expected);
    }
}

TEST(ItemsByKey, IsEmptyForPagesWithoutItems)
{
    EXPECT_TRUE(itemsByKey({{u"empty"_s, {}, {}, {}}}).isEmpty());
}

TEST(Items, AreThoseOfThePages)
{
    EXPECT_EQ(items(), itemsByKey(pages()));
}

TEST(Pages, AreMadeOnceWhicheverThreadAsksFirst)
{
    const std::vector<Page> *seen[4] = {};
    {
        std::vector<std::jthread> threads;
        for (auto &place : seen) {
            threads.emplace_back([&place] { place = &pages(); });
        }
    }
    for (const auto *place : seen) {
        EXPECT_EQ(place, &pages());
    }
}

} // namespace
} // namespace kavrin::catalogue
