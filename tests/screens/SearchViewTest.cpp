// SPDX-License-Identifier: MIT
#include "screens/EditMenus.h"
#include "screens/Screens.h"

#include <QClipboard>
#include <QGuiApplication>

namespace kavrin::test
{

namespace
{

class SearchViewTest : public Screens
{
protected:
    static constexpr QSize narrow = QSize(360, 720);
    static constexpr QSize wide = QSize(1000, 740);

    bool isSearching() { return window().top()->property("searching").toBool(); }

    QString page() { return window().top()->property("page").toString(); }

    /// The titles of what is found, from top to bottom.
    QStringList results()
    {
        QStringList titles;
        const QAccessibleInterface *list = window().find(u"Results"_s);
        for (int index = 0; list != nullptr && index < list->childCount(); ++index) {
            if (!list->child(index)->state().invisible) {
                titles.append(list->child(index)->text(QAccessible::Name));
            }
        }
        return titles;
    }

    void search(const QString &text)
    {
        window().press(Qt::Key_F, Qt::ControlModifier);
        window().type(text);
    }

    /// The control that has the focus.
    QString focused()
    {
        return QAccessible::queryAccessibleInterface(window().view().activeFocusItem())
            ->text(QAccessible::Name);
    }
};

TEST_F(SearchViewTest, IsBegunByCtrlFTheButtonOrTyping)
{
    for (const QSize &size : {narrow, wide}) {
        openPanes(size);
        window().press(Qt::Key_F, Qt::ControlModifier);
        EXPECT_TRUE(isSearching());
        window().press(Qt::Key_Escape);
        EXPECT_FALSE(isSearching());
        window().click(u"Search"_s);
        EXPECT_TRUE(isSearching());
        window().press(Qt::Key_Escape);
        window().type(u"dark"_s);
        EXPECT_TRUE(isSearching());
        EXPECT_EQ(window().item(u"Search settings"_s)->property("text"), u"dark"_s);
    }
}

TEST_F(SearchViewTest, IsNotBegunBySpaceOrWhereAFieldOrAControlHasTheFocus)
{
    openPanes(wide, {{u"initialPage"_s, u"gestures"_s}});
    window().press(Qt::Key_Space);
    window().press(Qt::Key_Delete);
    window().press(Qt::Key_D, Qt::ControlModifier);
    window().press(Qt::Key_D, Qt::AltModifier);
    window().press(Qt::Key_Escape);
    EXPECT_FALSE(isSearching());
    for (const QString &control : {u"Glide typing"_s, u"Glide start distance"_s, u"Slide-to-erase style"_s}) {
        window().item(control)->forceActiveFocus();
        window().press(Qt::Key_D);
        EXPECT_FALSE(isSearching()) << qPrintable(control);
    }
    openPanes(narrow);
    window().click(u"Try the keyboard here"_s);
    window().type(u"dark"_s);
    EXPECT_FALSE(isSearching());
}

TEST_F(SearchViewTest, ShowsWhatFitsWithEveryKey)
{
    openPanes(narrow);
    search(u"vibra"_s);
    EXPECT_EQ(results(),
              (QStringList{u"Haptics on key press"_s, u"Haptic strength"_s, u"Haptics on gestures"_s}));
    window().type(u"xyz"_s);
    EXPECT_EQ(results(), QStringList());
    EXPECT_TRUE(window().find(u"Nothing found for “vibraxyz”."_s) != nullptr);
    window().press(Qt::Key_A, Qt::ControlModifier);
    window().press(Qt::Key_Delete);
    EXPECT_TRUE(window().find(u"Nothing found for “vibraxyz”."_s) == nullptr);
}

TEST_F(SearchViewTest, SaysWhereItFound)
{
    openPanes(narrow);
    search(u"key height"_s);
    EXPECT_EQ(window().find(u"Key height"_s)->text(QAccessible::Description), u"Layout › Size & position"_s);
}

TEST_F(SearchViewTest, FindsOnlyRowsThatAreShownNow)
{
    openPanes(narrow);
    search(u"endpoint"_s);
    EXPECT_EQ(results(), QStringList());
    Prefs::set(u"provider"_s, u"custom"_s);
    window().press(Qt::Key_Escape);
    search(u"endpoint"_s);
    EXPECT_TRUE(results().contains(u"Endpoint URL"_s));
}

TEST_F(SearchViewTest, ReturnOpensThePageShowsTheRowAndMarksIt)
{
    for (const QSize &size : {narrow, wide}) {
        for (const auto &[text, title, pageId] :
             {std::tuple(u"swipe down to hide"_s, u"Swipe down to hide keyboard"_s, u"gestures"_s),
              {u"key height"_s, u"Key height"_s, u"layout"_s},
              {u"test voice"_s, u"Test voice typing"_s, u"dictation"_s}}) {
            openPanes(size);
            search(text);
            window().press(Qt::Key_Return);
            EXPECT_FALSE(isSearching());
            EXPECT_EQ(page(), pageId);
            EXPECT_EQ(focused(), title);
            window().view().grabWindow();
            const QQuickItem *control = window().view().activeFocusItem();
            const QRectF place = control->mapRectToScene(control->boundingRect());
            EXPECT_GE(place.top(), 52);
            EXPECT_LE(place.bottom(), size.height());
            const QQuickItem *row = control;
            while (row && !row->property("marked").isValid()) {
                row = row->parentItem();
            }
            ASSERT_TRUE(row != nullptr);
            EXPECT_TRUE(row->property("marked").toBool());
        }
    }
}

TEST_F(SearchViewTest, UpAndDownChooseAnotherResult)
{
    openPanes(narrow);
    search(u"vibra"_s);
    window().press(Qt::Key_Down);
    window().press(Qt::Key_Down);
    window().press(Qt::Key_Up);
    EXPECT_TRUE(window().find(u"Haptic strength"_s)->state().selected);
    window().press(Qt::Key_Return);
    EXPECT_EQ(focused(), u"Haptic strength"_s);
}

TEST_F(SearchViewTest, AClickOpensAResult)
{
    openPanes(narrow);
    search(u"vibra"_s);
    window().click(u"Haptic strength"_s);
    EXPECT_EQ(page(), u"feedback"_s);
}

TEST_F(SearchViewTest, FindsTheDictionary)
{
    openPanes(narrow);
    search(u"abbreviations"_s);
    window().press(Qt::Key_Return);
    EXPECT_EQ(page(), u"dictionary"_s);
}

TEST_F(SearchViewTest, PastesWhatToSearchForByItsMenu)
{
    openPanes(narrow);
    QGuiApplication::clipboard()->setText(u"key height"_s);
    search({});
    window().press(Qt::Key_Menu);
    choose(window(), u"Paste"_s);
    EXPECT_EQ(results().value(0), u"Key height");
}

TEST_F(SearchViewTest, ReturnWithoutAResultDoesNothing)
{
    openPanes(narrow);
    search(u"xylophone"_s);
    window().press(Qt::Key_Return);
    EXPECT_TRUE(isSearching());
}

} // namespace

} // namespace kavrin::test
