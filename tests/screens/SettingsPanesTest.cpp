// SPDX-License-Identifier: MIT
#include "screens/Screens.h"

namespace kavrin::test
{

namespace
{

class SettingsPanesTest : public Screens
{
protected:
    static constexpr QSize narrow = QSize(799, 1200);
    static constexpr QSize wide = QSize(800, 1200);

    /// The titles of the pages in view: the list of pages has that of the application.
    QStringList titles()
    {
        QStringList titles;
        collectTitles(window().topInterface(), titles);
        return titles;
    }

    QString page() { return window().top()->property("page").toString(); }

    void resize(QSize size)
    {
        window().view().resize(size);
        ASSERT_TRUE(waitUntil([&] { return window().top()->width() == size.width(); }));
    }

    /// Waits until only these pages are in view.
    void expectTitles(const QStringList &expected)
    {
        EXPECT_TRUE(waitUntil([&] { return titles() == expected; }))
            << qPrintable(titles().join(u", "_s)) << " instead of " << qPrintable(expected.join(u", "_s));
    }

private:
    static void collectTitles(const QAccessibleInterface *interface, QStringList &titles)
    {
        for (int index = 0; index < interface->childCount(); ++index) {
            const QAccessibleInterface *child = interface->child(index);
            if (!child->state().invisible && child->role() == QAccessible::Pane) {
                titles.append(child->text(QAccessible::Name));
            } else if (!child->state().invisible) {
                collectTitles(child, titles);
            }
        }
    }
};

TEST_F(SettingsPanesTest, APageCoversTheListOfPagesInANarrowWindow)
{
    openPanes(narrow);
    expectTitles({u"Kavrin"_s});
    window().click(u"Gestures"_s);
    expectTitles({u"Gestures"_s});
    window().click(u"Back"_s);
    expectTitles({u"Kavrin"_s});
}

TEST_F(SettingsPanesTest, APageStandsBesideTheListOfPagesInAWideWindow)
{
    openPanes(wide);
    expectTitles({u"Kavrin"_s, u"Start"_s});
    for (const auto &[row, title] : {std::pair(u"Gestures"_s, u"Gestures"_s),
                                     {u"Layout"_s, u"Layout"_s},
                                     {u"Personal dictionary & shortcuts"_s, u"Dictionary"_s}}) {
        window().click(row);
        expectTitles({u"Kavrin"_s, title});
        EXPECT_TRUE(window().find(u"Back"_s) == nullptr);
        EXPECT_TRUE(window().find(row, QAccessible::Button)->state().selected);
    }
    window().click(u"Start"_s);
    expectTitles({u"Kavrin"_s, u"Start"_s});
}

TEST_F(SettingsPanesTest, APageThatAPageOpensHasAWayBackInAWideWindow)
{
    openPanes(wide);
    window().click(u"Layout"_s);
    window().click(u"Reorder & hide toolbar icons"_s);
    expectTitles({u"Kavrin"_s, u"Toolbar icons"_s});
    window().click(u"Back"_s);
    expectTitles({u"Kavrin"_s, u"Layout"_s});
    EXPECT_TRUE(window().find(u"Back"_s) == nullptr);
}

TEST_F(SettingsPanesTest, ThePageStaysWhenTheWindowGetsWiderOrNarrower)
{
    openPanes(wide);
    window().click(u"Try the keyboard here"_s);
    window().type(u"trial"_s);
    window().click(u"Gestures"_s);
    resize(narrow);
    expectTitles({u"Gestures"_s});
    window().click(u"Back"_s);
    expectTitles({u"Kavrin"_s});
    EXPECT_EQ(window().item(u"Try the keyboard here"_s)->property("text"), u"trial"_s);
    window().click(u"Gestures"_s);
    resize(wide);
    expectTitles({u"Kavrin"_s, u"Gestures"_s});
}

TEST_F(SettingsPanesTest, BeginsWithThePageThatItIsTold)
{
    for (const QSize &size : {narrow, wide}) {
        openPanes(size, {{u"initialPage"_s, u"gestures"_s}});
        EXPECT_EQ(titles().last(), u"Gestures"_s);
        EXPECT_EQ(page(), u"gestures"_s);
        openPanes(size, {{u"initialPage"_s, u"a page of another version"_s}});
        EXPECT_EQ(page(), QString());
    }
}

} // namespace

} // namespace kavrin::test
