// SPDX-License-Identifier: MIT
#include "screens/Screens.h"
#include "support/Suite.h"

namespace kavrin::test
{

namespace
{

class DictionaryViewTest : public Screens
{
protected:
    QmlWindow m_view = QmlWindow(u"Kavrin.Screens"_s, u"DictionaryView"_s);

    static std::optional<PropertyListValue> userDict() { return stored(u"userDict"_s); }
};

TEST_F(DictionaryViewTest, StoresEveryEditAsItIsTyped)
{
    m_view.press(Qt::Key_Tab);
    m_view.type(u"omw=on my way"_s);
    EXPECT_EQ(userDict(), PropertyListValue(u"omw=on my way"_s));
    m_view.press(Qt::Key_Return);
    m_view.press(Qt::Key_Return);
    m_view.type(u" word"_s);
    EXPECT_EQ(userDict(), PropertyListValue(u"omw=on my way\n\n word"_s));
}

TEST_F(DictionaryViewTest, StoresTheEmptyStringWhenAllIsDeleted)
{
    m_view.press(Qt::Key_Tab);
    m_view.type(u"a"_s);
    m_view.press(Qt::Key_Backspace);
    EXPECT_EQ(userDict(), PropertyListValue(QString(u""_s)));
}

TEST_F(DictionaryViewTest, StoresNothingBeforeTheFirstEdit)
{
    EXPECT_FALSE(userDict());
}

TEST_F(DictionaryViewTest, StampsNoRevision)
{
    m_view.press(Qt::Key_Tab);
    m_view.type(u"word"_s);
    EXPECT_FALSE(stored(u"settingsRevision"_s));
}

TEST_F(DictionaryViewTest, TypesNoTabs)
{
    m_view.press(Qt::Key_Tab);
    m_view.type(u"word"_s);
    m_view.press(Qt::Key_Tab);
    EXPECT_EQ(userDict(), PropertyListValue(u"word"_s));
}

using DictionaryViewAlone = Screens;

TEST_F(DictionaryViewAlone, ShowsWhatIsStored)
{
    test::put(Shared::d(), u"userDict"_s, u"one\n=\n\nthree"_s);
    const QmlWindow window(u"Kavrin.Screens"_s, u"DictionaryView"_s);
    bool shown = false;
    for (const QQuickItem *item : window.top()->findChildren<QQuickItem *>()) {
        shown = shown || item->property("text").toString() == u"one\n=\n\nthree"_s;
    }
    EXPECT_TRUE(shown);
}

TEST_F(DictionaryViewAlone, IsEmptyWhereWhatIsStoredIsNoText)
{
    test::put(Shared::d(), u"userDict"_s, 4.5);
    const QmlWindow window(u"Kavrin.Screens"_s, u"DictionaryView"_s);
    EXPECT_EQ(stored(u"userDict"_s), PropertyListValue(4.5));
}

} // namespace

} // namespace kavrin::test
