// SPDX-License-Identifier: MIT
#include "screens/EditMenus.h"
#include "screens/Screens.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QtTest/QTest>

namespace kavrin::test
{

namespace
{

/// A slider from -12 to 12, whose default is 3.
class SliderRowTest : public Screens
{
protected:
    void open(double value = 3)
    {
        Prefs::set(u"key"_s, value);
        openPage({{u"page"_s,
                   u"Page"_s,
                   u"gearshape"_s,
                   {{u"Section"_s, {{u"key"_s, u"Slider"_s, catalogue::Slider{3, -12, 12, 1, u"pt"_s}}}}}}},
                 u"page"_s);
    }

    QQuickItem *slider()
    {
        return qobject_cast<QQuickItem *>(window().find(u"Slider"_s, QAccessible::Slider)->object());
    }

    /// The field in which the value is typed; null while it is not.
    QQuickItem *field()
    {
        QAccessibleInterface *found = window().find(u"Slider"_s, QAccessible::EditableText);
        return found != nullptr ? qobject_cast<QQuickItem *>(found->object()) : nullptr;
    }

    void clickValue() { window().click(slider()->parentItem()->findChild<QQuickItem *>(u"value"_s)); }

    /// Types a text in place of the value.
    void typeValue(const QString &text)
    {
        clickValue();
        ASSERT_TRUE(field() != nullptr);
        window().type(text);
    }

    const QQuickItem *part(const QString &name) { return slider()->findChild<QQuickItem *>(name); }

    /// Where the middle of the handle is if the slider stands at a value, in the slider.
    double placeOf(double value)
    {
        const double handle = slider()->property("handle").value<QQuickItem *>()->width();
        return handle / 2 + (value + 12) / 24 * (slider()->width() - handle);
    }

    QPoint pointOf(double value)
    {
        return slider()->mapToScene(QPointF(placeOf(value), slider()->height() / 2)).toPoint();
    }

    static PropertyListValue value() { return *stored(u"key"_s); }
};

TEST_F(SliderRowTest, MovesByAllArrowsByTenStepsAndToItsEnds)
{
    struct Case {
        Qt::Key key;
        double from;
        double to;
    };
    for (const Case &c : std::vector<Case>{{Qt::Key_Up, 3, 4},
                                           {Qt::Key_Down, 3, 2},
                                           {Qt::Key_Right, 3, 4},
                                           {Qt::Key_Left, 3, 2},
                                           {Qt::Key_PageUp, -5, 5},
                                           {Qt::Key_PageUp, 5, 12},
                                           {Qt::Key_PageDown, 5, -5},
                                           {Qt::Key_PageDown, -5, -12},
                                           {Qt::Key_Home, 3, -12},
                                           {Qt::Key_End, 3, 12},
                                           {Qt::Key_Up, 12, 12},
                                           {Qt::Key_Down, -12, -12}}) {
        SCOPED_TRACE(QKeySequence(c.key).toString().toStdString() + " from " + std::to_string(c.from));
        open(c.from);
        slider()->forceActiveFocus(Qt::TabFocusReason);
        window().press(c.key);
        EXPECT_EQ(value(), PropertyListValue(c.to));
    }
}

TEST_F(SliderRowTest, TakesAValueThatIsTypedInPlaceOfTheOneClicked)
{
    struct Case {
        QString typed;
        double stored;
    };
    for (const Case &c : std::vector<Case>{{u"7"_s, 7},
                                           {u"-8"_s, -8},
                                           {u"7 pt"_s, 7},
                                           {u"6,8"_s, 7},
                                           {u"6.2"_s, 6},
                                           {u"100"_s, 12},
                                           {u"-100"_s, -12},
                                           {u"x"_s, 3},
                                           {u""_s, 3}}) {
        SCOPED_TRACE(c.typed.toStdString());
        open();
        typeValue(c.typed);
        window().press(Qt::Key_Return);
        EXPECT_EQ(value(), PropertyListValue(c.stored));
        EXPECT_TRUE(field() == nullptr);
        EXPECT_TRUE(slider()->hasActiveFocus());
    }
}

TEST_F(SliderRowTest, LeavesTheValueWhereWhatIsTypedIsGivenUp)
{
    open();
    typeValue(u"7"_s);
    window().press(Qt::Key_Escape);
    EXPECT_EQ(value(), PropertyListValue(3.0));
    EXPECT_TRUE(field() == nullptr);
    EXPECT_TRUE(slider()->hasActiveFocus());
}

TEST_F(SliderRowTest, TakesWhatIsTypedWhenTheUserGoesElsewhere)
{
    open();
    typeValue(u"7"_s);
    slider()->forceActiveFocus(Qt::MouseFocusReason);
    EXPECT_EQ(value(), PropertyListValue(7.0));
    EXPECT_TRUE(field() == nullptr);
}

TEST_F(SliderRowTest, LetsTheKeyboardTypeAValueToo)
{
    open();
    slider()->forceActiveFocus(Qt::TabFocusReason);
    window().press(Qt::Key_Return);
    ASSERT_TRUE(field() != nullptr);
    EXPECT_EQ(field()->property("text"), u"3"_s);
    window().type(u"9"_s);
    window().press(Qt::Key_Return);
    EXPECT_EQ(value(), PropertyListValue(9.0));
}

TEST_F(SliderRowTest, AValueBeingTypedHasAMenuToPaste)
{
    open();
    QGuiApplication::clipboard()->setText(u"7"_s);
    clickValue();
    window().press(Qt::Key_Menu);
    choose(window(), u"Paste"_s);
    ASSERT_TRUE(field() != nullptr);
    window().press(Qt::Key_Return);
    EXPECT_EQ(value(), PropertyListValue(7.0));
}

TEST_F(SliderRowTest, GoesBackToItsValueWhenEscapeIsPressedDuringADrag)
{
    open(-4);
    QTest::mousePress(&window().view(), Qt::LeftButton, Qt::NoModifier, pointOf(-4));
    for (int at = -4; at <= 10; ++at) {
        QTest::mouseMove(&window().view(), pointOf(at));
    }
    EXPECT_EQ(value(), PropertyListValue(10.0));
    window().press(Qt::Key_Escape);
    EXPECT_EQ(value(), PropertyListValue(-4.0));
    QTest::mouseMove(&window().view(), pointOf(8));
    EXPECT_EQ(slider()->property("value"), -4);
    QTest::mouseRelease(&window().view(), Qt::LeftButton, Qt::NoModifier, pointOf(8));
    EXPECT_EQ(value(), PropertyListValue(-4.0));
    QTest::mouseClick(&window().view(), Qt::LeftButton, Qt::NoModifier, pointOf(8));
    EXPECT_EQ(value(), PropertyListValue(8.0));
}

TEST_F(SliderRowTest, EscapeDuringADragPutsBackExactlyWhatWasStored)
{
    for (const auto &[before, at] : {std::pair<std::optional<PropertyListValue>, double>(std::nullopt, 3),
                                     {PropertyListValue(qint64(5)), 5},
                                     {PropertyListValue(4.4), 4.4},
                                     {PropertyListValue(true), 1},
                                     {PropertyListValue(u"x"_s), 3},
                                     {PropertyListValue(50.0), 12}}) {
        for (const double away : {10.0, at}) {
            SCOPED_TRACE(at);
            open();
            EXPECT_FALSE(Shared::d().write({{u"key"_s, before}}));
            settings().reload();
            QTest::mousePress(&window().view(), Qt::LeftButton, Qt::NoModifier, pointOf(at));
            QTest::mouseMove(&window().view(), pointOf(-10));
            QTest::mouseMove(&window().view(), pointOf(away));
            EXPECT_NE(stored(u"key"_s), before);
            window().press(Qt::Key_Escape);
            EXPECT_EQ(stored(u"key"_s), before);
            QTest::mouseRelease(&window().view(), Qt::LeftButton, Qt::NoModifier, pointOf(away));
            EXPECT_EQ(stored(u"key"_s), before);
        }
    }
}

TEST_F(SliderRowTest, EscapeStoresNothingWhereNothingWasMoved)
{
    open(-4);
    const auto revision = stored(u"settingsRevision"_s);
    QTest::mousePress(&window().view(), Qt::LeftButton, Qt::NoModifier, pointOf(-4));
    window().press(Qt::Key_Escape);
    EXPECT_EQ(stored(u"settingsRevision"_s), revision);
    QTest::mouseRelease(&window().view(), Qt::LeftButton, Qt::NoModifier, pointOf(-4));
}

TEST_F(SliderRowTest, IsFilledFromZeroWhereItHasValuesOnBothSides)
{
    for (const double value : {-8.0, 0.0, 8.0}) {
        open(value);
        EXPECT_DOUBLE_EQ(part(u"fill"_s)->x(), placeOf(std::min(value, 0.0)));
        EXPECT_DOUBLE_EQ(part(u"fill"_s)->width(),
                         placeOf(std::max(value, 0.0)) - placeOf(std::min(value, 0.0)));
    }
}

TEST_F(SliderRowTest, IsFilledFromItsBeginningWhereItHasNone)
{
    openPage(u"layout"_s);
    auto *slider = window().item(u"Key height"_s);
    const auto *fill = slider->findChild<QQuickItem *>(u"fill"_s);
    const auto *handle = slider->property("handle").value<QQuickItem *>();
    EXPECT_EQ(fill->x(), 0);
    EXPECT_DOUBLE_EQ(fill->width(), handle->x() + handle->width() / 2);
}

TEST_F(SliderRowTest, HasAMarkAtItsDefault)
{
    open(-9);
    const QQuickItem *mark = part(u"mark"_s);
    EXPECT_TRUE(mark->isVisible());
    EXPECT_DOUBLE_EQ(mark->x() + mark->width() / 2, placeOf(3));
}

} // namespace

} // namespace kavrin::test
