// SPDX-License-Identifier: MIT
#include "screens/EditMenus.h"
#include "screens/Screens.h"
#include "support/Suite.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QQuickItem>
#include <QtTest/QTest>

namespace kavrin::test
{

namespace
{

using catalogue::Text;

QString clipboard()
{
    return QGuiApplication::clipboard()->text();
}

void setClipboard(const QString &text)
{
    QGuiApplication::clipboard()->setText(text);
}

QPoint middleOf(const QQuickItem *item)
{
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
}

/// A page with a field, "Address" or "Key", that has a footer, and a switch.
class FieldRowTest : public Screens
{
protected:
    void openField(bool secret, const QString &text)
    {
        put(Shared::d(), u"field"_s, text);
        Prefs::forget();
        const Prefs::Item item = {u"field"_s, secret ? u"Key"_s : u"Address"_s, Text{{}, secret},
                                  u"Its footer."_s};
        const Prefs::Item other = {u"other"_s, u"Other"_s, catalogue::Toggle{}};
        openPage({{u"page"_s, u"Page"_s, u"gearshape"_s, {{u"Section"_s, {item, other}}}}}, u"page"_s);
        window().view().grabWindow();
    }

    void openAddress(const QString &text) { openField(false, text); }
    void openKey(const QString &text) { openField(true, text); }

    /// The item that takes what is typed.
    QQuickItem *field() { return findField(window().top()); }

    void rightClick(const QPoint &place)
    {
        QTest::mouseClick(&window().view(), Qt::RightButton, Qt::NoModifier, place);
    }

    QImage picture(const QQuickItem *item)
    {
        const QRectF place = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
        return window().view().grabWindow().copy(place.toAlignedRect());
    }

    void leave() { window().item(u"Other"_s)->forceActiveFocus(); }
    bool isEdited() { return field()->hasActiveFocus(); }
    static QString text() { return std::get<QString>(*stored(u"field"_s)); }

private:
    static QQuickItem *findField(QQuickItem *within)
    {
        if (within->inherits("QQuickTextInput")) {
            return within;
        }
        for (QQuickItem *child : within->childItems()) {
            if (QQuickItem *found = findField(child)) {
                return found;
            }
        }
        return nullptr;
    }
};

TEST_F(FieldRowTest, AClickAnywhereInTheRowBeginsToEdit)
{
    openAddress(u"http://a"_s);
    const QRectF box = field()->mapRectToScene(QRectF(0, 0, field()->width(), field()->height()));
    const QPointF places[] = {
        {20, box.top() - 20}, // the title
        {box.right() + 5, box.center().y()}, // the edge of the box
        {40, box.bottom() + 24}, // the footer
        box.center(),
    };
    for (const QPointF &place : places) {
        SCOPED_TRACE(place.y());
        leave();
        EXPECT_FALSE(isEdited());
        QTest::mouseClick(&window().view(), Qt::LeftButton, Qt::NoModifier, place.toPoint());
        EXPECT_TRUE(isEdited());
    }
}

TEST_F(FieldRowTest, ALongTextShowsItsBeginningUnlessItIsEdited)
{
    openAddress(u"https://a.very.long.example.org/that/no/box/shows/whole/v1/audio/transcriptions"_s);
    const QImage beginning = picture(field());
    field()->forceActiveFocus();
    window().press(Qt::Key_End);
    EXPECT_NE(picture(field()), beginning);
    leave();
    EXPECT_TRUE(waitUntil([&] { return picture(field()) == beginning; }));
}

TEST_F(FieldRowTest, ALongAddressShowsItsBeginningAlsoFromRightToLeft)
{
    const QString address =
        u"https://a.very.long.example.org/that/no/box/shows/whole/v1/audio/transcriptions"_s;
    openAddress(address);
    const QImage beginning = picture(field());
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    openAddress(address);
    EXPECT_EQ(picture(field()), beginning);
}

TEST_F(FieldRowTest, ARightClickOffersToCutToCopyAndToPaste)
{
    openAddress(u"http://a"_s);
    setClipboard(u"b"_s);
    rightClick(middleOf(field()));
    EXPECT_TRUE(opens(window()));
    EXPECT_EQ(menuOf(window()), (QStringList{u"(Cut)"_s, u"(Copy)"_s, u"Paste"_s}));
    choose(window(), u"Paste"_s);
    EXPECT_EQ(text(), u"http://ab");
    EXPECT_TRUE(isEdited());
    window().press(Qt::Key_A, Qt::ControlModifier);
    rightClick(field()->mapToScene(QPointF(4, 8)).toPoint());
    EXPECT_TRUE(opens(window()));
    EXPECT_EQ(menuOf(window()), (QStringList{u"Cut"_s, u"Copy"_s, u"Paste"_s}));
    choose(window(), u"Copy"_s);
    EXPECT_EQ(clipboard(), u"http://ab");
    rightClick(field()->mapToScene(QPointF(4, 8)).toPoint());
    choose(window(), u"Cut"_s);
    EXPECT_EQ(text(), u"");
}

TEST_F(FieldRowTest, AKeyOpensTheMenuAndEscapeClosesIt)
{
    openAddress(u"a"_s);
    for (const auto &[key, modifiers] :
         {std::pair<Qt::Key, Qt::KeyboardModifiers>(Qt::Key_Menu, {}), {Qt::Key_F10, Qt::ShiftModifier}}) {
        field()->forceActiveFocus();
        window().press(Qt::Key_A, Qt::ControlModifier);
        window().press(key, modifiers);
        EXPECT_TRUE(opens(window()));
        window().press(Qt::Key_Escape);
        EXPECT_TRUE(closes(window()));
        EXPECT_TRUE(isEdited());
    }
    window().press(Qt::Key_Menu);
    EXPECT_TRUE(opens(window()));
    window().press(Qt::Key_Down);
    window().press(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([&] { return text().isEmpty(); }));
    EXPECT_EQ(clipboard(), u"a");
}

TEST_F(FieldRowTest, ALongPressSelectsTheWordThereAndOpensTheMenu)
{
    openAddress(u"one"_s);
    const std::unique_ptr<QPointingDevice> screen(QTest::createTouchDevice());
    const QPoint place = field()->mapToScene(QPointF(8, field()->height() / 2)).toPoint();
    QTest::touchEvent(&window().view(), screen.get()).press(0, place);
    EXPECT_TRUE(waitUntil([&] { return field()->property("selectedText") == u"one"_s; }));
    QTest::touchEvent(&window().view(), screen.get()).release(0, place);
    EXPECT_TRUE(opens(window()));
    EXPECT_EQ(menuOf(window()), (QStringList{u"Cut"_s, u"Copy"_s, u"Paste"_s}));
    choose(window(), u"Copy"_s);
    EXPECT_EQ(clipboard(), u"one");
}

TEST_F(FieldRowTest, AKeyCanOnlyBePastedAlsoWhileItIsShown)
{
    openKey(u"secret"_s);
    window().click(u"Show Key"_s);
    setClipboard(u"before"_s);
    field()->forceActiveFocus();
    window().press(Qt::Key_A, Qt::ControlModifier);
    rightClick(middleOf(field()));
    EXPECT_TRUE(opens(window()));
    EXPECT_EQ(menuOf(window()), QStringList(u"Paste"_s));
    window().press(Qt::Key_Escape);
    EXPECT_TRUE(closes(window()));
    window().press(Qt::Key_A, Qt::ControlModifier);
    window().press(Qt::Key_C, Qt::ControlModifier);
    window().press(Qt::Key_X, Qt::ControlModifier);
    window().press(Qt::Key_Delete, Qt::ShiftModifier);
    EXPECT_EQ(clipboard(), u"before");
    EXPECT_EQ(text(), u"secret");
    window().press(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(text(), u"before");
}

TEST_F(FieldRowTest, AnEmptyKeyHasAButtonThatPastesIt)
{
    openKey({});
    setClipboard(u" sk-1\n"_s);
    EXPECT_TRUE(window().find(u"Show Key"_s) == nullptr);
    window().click(u"Paste Key"_s);
    EXPECT_EQ(text(), u"sk-1");
    EXPECT_TRUE(isEdited());
    EXPECT_TRUE(window().find(u"Paste Key"_s) == nullptr);
    EXPECT_TRUE(window().find(u"Show Key"_s) != nullptr);
}

TEST_F(FieldRowTest, AnAddressHasNoButtonThatPastesIt)
{
    openAddress({});
    EXPECT_TRUE(window().find(u"Paste Address"_s) == nullptr);
}

TEST_F(FieldRowTest, TheDictionaryHasTheMenu)
{
    put(Shared::d(), u"userDict"_s, u"one"_s);
    QmlWindow dictionary(u"Kavrin.Screens"_s, u"DictionaryView"_s);
    auto *editor =
        qobject_cast<QQuickItem *>(dictionary.find(u"Dictionary"_s, QAccessible::EditableText)->object());
    setClipboard(u"two\n"_s);
    dictionary.view().grabWindow();
    const QPoint beginning = editor->mapToScene(QPointF(2, 18)).toPoint();
    QTest::mouseClick(&dictionary.view(), Qt::RightButton, Qt::NoModifier, beginning);
    choose(dictionary, u"Paste"_s);
    EXPECT_EQ(stored(u"userDict"_s), PropertyListValue(u"two\none"_s));
    dictionary.press(Qt::Key_A, Qt::ControlModifier);
    dictionary.press(Qt::Key_Menu);
    choose(dictionary, u"Cut"_s);
    EXPECT_EQ(stored(u"userDict"_s), PropertyListValue(u""_s));
    EXPECT_EQ(clipboard(), u"two\none");
}

} // namespace

} // namespace kavrin::test
