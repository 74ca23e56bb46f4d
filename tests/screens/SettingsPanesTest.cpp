// SPDX-License-Identifier: MIT
#include "screens/Screens.h"

#include <cmath>

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

TEST_F(SettingsPanesTest, TheWayBackFromTheHelpLeadsToThePageBefore)
{
    for (const auto &[size, list] : {std::pair(narrow, QStringList()), {wide, {u"Kavrin"_s}}}) {
        openPanes(size, {{u"initialPage"_s, u"gestures"_s}});
        window().press(Qt::Key_F, Qt::ControlModifier);
        for (int time = 0; time < 2; ++time) {
            QMetaObject::invokeMethod(window().top(), "help");
            expectTitles(list + QStringList{u"Help"_s});
        }
        EXPECT_EQ(page(), u"gestures"_s);
        window().press(Qt::Key_Escape);
        expectTitles(list + QStringList{u"Gestures"_s});
    }
}

TEST_F(SettingsPanesTest, EscapeAndF6LeadFromThePageToTheListInAWideWindow)
{
    openPanes(wide, {{u"initialPage"_s, u"gestures"_s}});
    for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_F6}) {
        window().item(u"Glide typing"_s)->forceActiveFocus();
        window().press(key);
        EXPECT_EQ(window().view().activeFocusItem(), window().item(u"Gestures"_s));
    }
    window().press(Qt::Key_F6);
    EXPECT_EQ(window().view().activeFocusItem(), window().item(u"Glide typing"_s));
}

TEST_F(SettingsPanesTest, TabLeadsIntoThePageWhereNoControlHasTheFocus)
{
    for (const QSize &size : {narrow, wide}) {
        openPanes(size, {{u"initialPage"_s, u"feedback"_s}});
        window().press(Qt::Key_Tab);
        EXPECT_EQ(window().view().activeFocusItem(), window().item(u"Haptics on key press"_s))
            << size.width();
    }
}

TEST_F(SettingsPanesTest, TheControlShowsItsFocusAgainWhenTheKeyboardComesBackToIt)
{
    openPanes(wide, {{u"initialPage"_s, u"gestures"_s}});
    window().press(Qt::Key_Tab);
    window().press(Qt::Key_Tab);
    window().press(Qt::Key_F, Qt::ControlModifier);
    window().press(Qt::Key_Escape);
    EXPECT_EQ(window().view().activeFocusItem(), window().item(u"Glide start distance"_s));
    EXPECT_TRUE(window().view().activeFocusItem()->property("visualFocus").toBool());
}

TEST_F(SettingsPanesTest, UpAndDownWalkThroughTheListOfPages)
{
    struct Step {
        QSize size;
        QString from;
        Qt::Key key;
        QString to;
    };
    const Step steps[] = {
        {wide, u"Start"_s, Qt::Key_Up, u"Start"_s},
        {wide, u"Start"_s, Qt::Key_Down, u"Layout"_s},
        {wide, u"Layout"_s, Qt::Key_Down, u"Look & feel"_s},
        {wide, u"Layout"_s, Qt::Key_Up, u"Start"_s},
        {wide, u"Help"_s, Qt::Key_Down, u"Help"_s},
        {narrow, u"Layout"_s, Qt::Key_Up, u"Layout"_s},
        {narrow, u"Layout"_s, Qt::Key_Down, u"Look & feel"_s},
    };
    for (const Step &step : steps) {
        openPanes(step.size);
        window().item(step.from)->forceActiveFocus();
        window().press(step.key);
        EXPECT_EQ(window().view().activeFocusItem(), window().item(step.to)) << qPrintable(step.from);
    }
}

class PageScrollTest : public Screens
{
protected:
    QQuickItem *flickable() { return window().top()->property("flickable").value<QQuickItem *>(); }
    double contentY() { return flickable()->property("contentY").toDouble(); }
    double last()
    {
        return std::floor(flickable()->property("contentHeight").toDouble() - flickable()->height());
    }
};

TEST_F(PageScrollTest, KeysScrollAPage)
{
    struct Step {
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
        int from; ///< screens from the top
        int to;
    };
    openPage(u"layout"_s, QSize(360, 400));
    window().view().grabWindow();
    const double screen = flickable()->height() - 48;
    const Step steps[] = {
        {Qt::Key_PageDown, {}, 0, 1},
        {Qt::Key_PageUp, {}, 2, 1},
        {Qt::Key_PageUp, {}, 0, 0},
        {Qt::Key_Space, {}, 0, 1},
        {Qt::Key_Space, Qt::ShiftModifier, 2, 1},
        {Qt::Key_PageDown, Qt::ControlModifier, 1, 1},
        {Qt::Key_Home, {}, 2, 0},
    };
    window().top()->forceActiveFocus();
    for (const Step &step : steps) {
        flickable()->setProperty("contentY", step.from * screen);
        window().press(step.key, step.modifiers);
        EXPECT_EQ(contentY(), step.to * screen) << step.key;
    }
    window().press(Qt::Key_End);
    EXPECT_EQ(contentY(), last());
}

TEST_F(PageScrollTest, SpaceIsTheControlsThatHasTheFocus)
{
    openPage(u"layout"_s, QSize(360, 400));
    window().item(u"Number row"_s)->forceActiveFocus();
    const double before = contentY();
    window().press(Qt::Key_Space);
    EXPECT_EQ(contentY(), before);
    EXPECT_EQ(stored(u"numberRow"_s), PropertyListValue(true));
    window().item(u"Key height"_s)->forceActiveFocus();
    const double top = contentY();
    window().press(Qt::Key_Space);
    EXPECT_EQ(contentY(), top);
}

TEST_F(PageScrollTest, PageKeysScrollAlsoWhereAFieldHasTheFocus)
{
    Prefs::set(u"provider"_s, u"custom"_s);
    openPage(u"dictation"_s, QSize(360, 400));
    window().item(u"Endpoint URL"_s)->forceActiveFocus();
    window().press(Qt::Key_PageUp);
    EXPECT_EQ(contentY(), 0);
    window().press(Qt::Key_End); // the field's own
    EXPECT_EQ(contentY(), 0);
}

} // namespace

} // namespace kavrin::test
