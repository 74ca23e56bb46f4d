// SPDX-License-Identifier: MIT
#include "screens/Screens.h"

#include <QWheelEvent>
#include <QtTest/QTest>

namespace kavrin::test
{

namespace
{

/// A picker with the options First, Second and Third, of which the second is chosen.
class PickerRowTest : public Screens
{
protected:
    void open(const QString &chosen = u"b"_s)
    {
        Prefs::set(u"key"_s, chosen);
        const catalogue::Choice choice = {
            u"b"_s, {{u"a"_s, u"First"_s}, {u"b"_s, u"Second"_s}, {u"c"_s, u"Third"_s}}};
        openPage(
            {{u"page"_s, u"Page"_s, u"gearshape"_s, {{u"Section"_s, {{u"key"_s, u"Picker"_s, choice}}}}}},
            u"page"_s);
    }

    QQuickItem *picker() { return window().item(u"Picker"_s); }

    bool isOpen() { return picker()->property("popup").value<QObject *>()->property("visible").toBool(); }

    void closeList()
    {
        window().press(Qt::Key_Escape); // Qt crashes if a window goes with its list open
        EXPECT_TRUE(waitUntil([&] { return !isOpen(); }));
    }
};

TEST_F(PickerRowTest, KeepsItsOptionWhateverKeyIsPressedOrWheelTurnedWhileItIsClosed)
{
    open();
    picker()->forceActiveFocus(Qt::TabFocusReason);
    for (const Qt::Key key : {Qt::Key_Home, Qt::Key_End, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Left,
                              Qt::Key_Right, Qt::Key_T, Qt::Key_F, Qt::Key_1}) {
        window().press(key);
        EXPECT_FALSE(isOpen());
        EXPECT_EQ(stored(u"key"_s), PropertyListValue(u"b"_s));
    }
    const QPointF middle = picker()->mapToScene(picker()->boundingRect().center());
    for (const int turn : {-120, 120}) {
        QWheelEvent wheel(middle, middle, QPoint(), QPoint(0, turn), Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&window().view(), &wheel);
        EXPECT_EQ(stored(u"key"_s), PropertyListValue(u"b"_s));
    }
}

TEST_F(PickerRowTest, OpensItsListAtTheChosenOptionByKey)
{
    for (const auto &[key, modifiers] :
         {std::pair(Qt::Key_Return, Qt::NoModifier), std::pair(Qt::Key_Enter, Qt::NoModifier),
          std::pair(Qt::Key_Space, Qt::NoModifier), std::pair(Qt::Key_Up, Qt::NoModifier),
          std::pair(Qt::Key_Down, Qt::NoModifier), std::pair(Qt::Key_Down, Qt::AltModifier),
          std::pair(Qt::Key_F4, Qt::NoModifier)}) {
        SCOPED_TRACE(key);
        open();
        picker()->forceActiveFocus(Qt::TabFocusReason);
        window().press(key, modifiers);
        EXPECT_TRUE(isOpen());
        EXPECT_EQ(picker()->property("highlightedIndex"), 1);
        EXPECT_EQ(stored(u"key"_s), PropertyListValue(u"b"_s));
        closeList();
    }
}

TEST_F(PickerRowTest, StoresTheOptionThatIsChosenInItsList)
{
    struct Case {
        Qt::Key key;
        QString stored;
    };
    for (const Case &c : std::vector<Case>{
             {Qt::Key_Down, u"c"_s}, {Qt::Key_Up, u"a"_s}, {Qt::Key_Home, u"a"_s}, {Qt::Key_End, u"c"_s}}) {
        open();
        picker()->forceActiveFocus(Qt::TabFocusReason);
        window().press(Qt::Key_Return);
        window().press(c.key);
        window().press(Qt::Key_Return);
        EXPECT_EQ(stored(u"key"_s), PropertyListValue(c.stored));
        EXPECT_TRUE(waitUntil([&] { return !isOpen(); }));
    }
}

TEST_F(PickerRowTest, KeepsAnUnknownOptionWhereNoneIsChosen)
{
    open(u"unknown"_s);
    picker()->forceActiveFocus(Qt::TabFocusReason);
    window().press(Qt::Key_Return);
    window().press(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([&] { return !isOpen(); }));
    EXPECT_EQ(stored(u"key"_s), PropertyListValue(u"unknown"_s));
}

} // namespace

} // namespace kavrin::test
