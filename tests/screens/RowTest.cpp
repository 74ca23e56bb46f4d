// SPDX-License-Identifier: MIT
#include "screens/Screens.h"

#include <QImage>
#include <QtTest/QTest>

#include <algorithm>

namespace kavrin::test
{

namespace
{

/// A page with a row that has a footer.
class RowTest : public Screens
{
protected:
    const QString footer = u"A footer that is long enough to need at least two lines on a phone."_s;

    void open(const Prefs::Kind &kind)
    {
        openPage({{u"page"_s,
                   u"Page"_s,
                   u"gearshape"_s,
                   {{u"Section"_s,
                     {{u"key"_s, u"Title"_s, kind, footer}, {u"next"_s, u"Next"_s, catalogue::Toggle{}}}}}}},
                 u"page"_s);
    }

    QQuickItem *footerItem()
    {
        return find([this](const QQuickItem *item) { return item->property("text") == footer; });
    }

    /// The ring round what has the focus; null if none is seen.
    QQuickItem *ring()
    {
        return find([](const QQuickItem *item) {
            return QByteArray(item->metaObject()->className()).startsWith("FocusRing");
        });
    }

    static QRectF place(const QQuickItem *item)
    {
        return item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
    }

private:
    template <typename Predicate> QQuickItem *find(Predicate predicate)
    {
        const auto items = window().items();
        const auto found = std::ranges::find_if(items, predicate);
        return found == items.end() ? nullptr : *found;
    }
};

const catalogue::Choice choice = {u"a"_s, {{u"a"_s, u"First"_s}, {u"b"_s, u"Second"_s}}};

TEST_F(RowTest, RingsAControlWithItsFooterAndNothingElse)
{
    for (const Prefs::Kind &kind : {Prefs::Kind(catalogue::Toggle{}), Prefs::Kind(choice),
                                    Prefs::Kind(catalogue::Action{u"act.resetAll"_s})}) {
        SCOPED_TRACE(kind.index());
        open(kind);
        window().item(u"Title"_s)->forceActiveFocus(Qt::TabFocusReason);
        ASSERT_TRUE(ring() != nullptr);
        EXPECT_TRUE(place(ring()).contains(place(window().item(u"Title"_s)).adjusted(4, 4, -4, -4)));
        EXPECT_GE(place(ring()).bottom(), place(footerItem()).bottom() - 4);
        EXPECT_LE(place(ring()).bottom(), place(window().item(u"Next"_s)).top());
    }
}

TEST_F(RowTest, TakesAClickOnItsFooter)
{
    open(catalogue::Toggle{});
    window().click(footerItem());
    EXPECT_EQ(stored(u"key"_s), PropertyListValue(true));
    EXPECT_TRUE(window().item(u"Title"_s)->property("hovered").toBool());
    window().click(window().item(u"Next"_s));
    EXPECT_EQ(stored(u"key"_s), PropertyListValue(true));
}

TEST_F(RowTest, LooksTheSameWhetherItWasChangedOrOpenedLikeThat)
{
    const auto picture = [this] { return window().view().grabWindow(); };
    openPage(u"layout"_s);
    const QImage before = picture();
    Prefs::set(u"vGap"_s, 14);
    page().changed();
    const QImage changed = picture();
    EXPECT_NE(changed, before);
    openPage(u"layout"_s);
    EXPECT_EQ(changed, picture());
}

TEST_F(RowTest, ShowsAScrollBarWhileThereIsMoreThanFits)
{
    const auto bar = [this](QSize size) {
        openPage(u"layout"_s, size);
        const QImage image = window().view().grabWindow();
        const int x = image.width() - 5;
        return image.pixelColor(x, 60) != image.pixelColor(x, image.height() - 10);
    };
    EXPECT_TRUE(bar(QSize(360, 720)));
    EXPECT_FALSE(bar(QSize(360, 4000)));
}

} // namespace

} // namespace kavrin::test
