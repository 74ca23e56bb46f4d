// SPDX-License-Identifier: MIT
#include "screens/Screens.h"

namespace kavrin::test
{

namespace
{

class DictionaryViewTest : public Screens
{
protected:
    QmlWindow m_view = QmlWindow(u"Kavrin.Screens"_qs, u"DictionaryView"_qs);

    static std::optional<PropertyListValue> userDict() { return stored(u"userDict"_qs); }
};

TEST_F(DictionaryViewTest, StoresEveryEditAsItIsTyped)
{
    m_view.press(Qt::Key_Tab);
    m_view.type(u"omw=on my way"_qs);
    EXPECT_EQ(userDict(), PropertyListValue(u"omw=on my way"_qs));
    m_view.press(Qt::Key_Return);
    m_view.press(Qt::Key_Return);
    m_view.type(u" word"_qs);
    EXPECT_EQ(userDict(), PropertyListValue(u"omw=on my way\n\n word"_qs));
}

TEST_F(DictionaryViewTest, StoresTheEmptyStringWhenAllIsDeleted)
{
    m_view.press(Qt::Key_Tab);
    m_view.type(u"a"_qs);
    m_view.press(Qt::Key_Backspace);
    EXPECT_EQ(userDict(), PropertyListValue(QString(u""_qs)));
}

TEST_F(DictionaryViewTest, StoresNothingBeforeTheFirstEdit)
{
    EXPECT_FALSE(userDict());
}

TEST_F(DictionaryViewTest, StampsNoRevision)
{
    m_view.press(Qt::Key_Tab);
    m_view.type(u"word"_qs);
    EXPECT_FALSE(stored(u"settingsRevision"_qs));
}

TEST_F(DictionaryViewTest, TypesNoTabs)
{
    m_view.press(Qt::Key_Tab);
    m_view.type(u"word"_qs);
    m_view.press(Qt::Key_Tab);
    EXPECT_EQ(userDict(), PropertyListValue(u"word"_qs));
}

using DictionaryViewAlone = Screens;

TEST_F(DictionaryViewAlone, ShowsWhatIsStored)
{
    Shared::d().set(u"userDict"_qs, u"one\n=\n\nthree"_qs);
    const QmlWindow window(u"Kavrin.Screens"_qs, u"DictionaryView"_qs);
    bool shown = false;
    for (const QQuickItem *item : window.top()->findChildren<QQuickItem *>()) {
        shown = shown || item->property("text").toString() == u"one\n=\n\nthree"_qs;
    }
    EXPECT_TRUE(shown);
}

TEST_F(DictionaryViewAlone, IsEmptyWhereWhatIsStoredIsNoText)
{
    Shared::d().set(u"userDict"_qs, 4.5);
    const QmlWindow window(u"Kavrin.Screens"_qs, u"DictionaryView"_qs);
    EXPECT_EQ(stored(u"userDict"_qs), PropertyListValue(4.5));
}

} // namespace

} // namespace kavrin::test
