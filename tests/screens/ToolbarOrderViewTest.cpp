// SPDX-License-Identifier: MIT
#include "screens/ToolbarOrder.h"

#include "screens/PageModel.h"
#include "store/Prefs.h"
#include "store/Shared.h"
#include "support/QmlWindow.h"
#include "support/RefusedKey.h"
#include "support/Suite.h"
#include "support/Wait.h"

#include <QAccessible>
#include <QGuiApplication>
#include <QPointingDevice>
#include <QQmlProperty>
#include <QSignalSpy>
#include <QtTest/QTest>

#include <gmock/gmock.h>

#include <map>
#include <memory>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

/// The toolbar editor in a window.
class ToolbarOrderViewTest : public testing::Test
{
protected:
    void open(QSize size = QSize(360, 720))
    {
        m_window =
            std::make_unique<QmlWindow>(u"Kavrin.Screens"_s, u"ToolbarOrderView"_s, QVariantMap(), size);
    }

    void open(PageModel &page)
    {
        const QVariantMap properties = {{u"page"_s, QVariant::fromValue(&page)}};
        m_window = std::make_unique<QmlWindow>(u"Kavrin.Screens"_s, u"ToolbarOrderView"_s, properties);
    }

    QmlWindow &window() { return *m_window; }

    ToolbarOrder &tools() { return *window().root()->property("tools").value<ToolbarOrder *>(); }

    QQuickItem *row(const QString &title) { return window().item(title); }
    QQuickItem *handle(const QString &title) { return window().item(u"Move "_s + title); }

    /// A row holds two things of the tool's name: itself and the switch.
    QAccessibleInterface *toggle(const QString &title)
    {
        return QAccessible::queryAccessibleInterface(row(title))->child(0);
    }

    QQuickItem *flickable() { return window().root()->property("flickable").value<QQuickItem *>(); }

    static QPointF middle(const QQuickItem *item)
    {
        return item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    }

    void pressHandle(const QString &title)
    {
        m_pointer = middle(handle(title));
        QTest::mousePress(&window().view(), Qt::LeftButton, Qt::NoModifier, m_pointer.toPoint());
    }

    /// In a dozen small steps.
    void dragTo(double y)
    {
        const double from = m_pointer.y();
        constexpr int steps = 12;
        for (int step = 1; step <= steps; ++step) {
            m_pointer.setY(from + (y - from) * step / steps);
            QTest::mouseMove(&window().view(), m_pointer.toPoint());
        }
    }

    void release()
    {
        QTest::mouseRelease(&window().view(), Qt::LeftButton, Qt::NoModifier, m_pointer.toPoint());
    }

    /// The titles of the rows, from top to bottom as they are seen once nothing moves any more.
    QStringList seen()
    {
        QStringList titles;
        EXPECT_TRUE(waitUntil([&] {
            const std::map<double, const QQuickItem *> rows = rowsByHeight();
            titles.clear();
            double bottom = 0;
            for (const auto &[y, row] : rows) {
                titles.append(row->property("title").toString());
                if (y != bottom || row->property("position") != titles.size()) {
                    return false;
                }
                bottom += row->height();
            }
            return true;
        }));
        return titles;
    }

    static QString storedOrder() { return Shared::d().string(u"toolOrder"_s).value_or(u"none"_s); }
    static QString storedHidden() { return Shared::d().string(u"toolHidden"_s).value_or(u"none"_s); }

private:
    std::map<double, const QQuickItem *> rowsByHeight()
    {
        std::map<double, const QQuickItem *> rows;
        for (const QQuickItem *item : row(u"Emoji"_s)->parentItem()->childItems()) {
            if (item->isVisible() && item->property("position").isValid()) {
                rows[item->y()] = item;
            }
        }
        return rows;
    }

    std::unique_ptr<QmlWindow> m_window;
    QPointF m_pointer;
};

QStringList titles(const QString &order)
{
    QStringList titles;
    for (const QString &id : order.split(u',')) {
        for (const Prefs::Tool &tool : Prefs::toolIDs()) {
            if (tool.id == id) {
                titles.append(tool.title);
            }
        }
    }
    return titles;
}

} // namespace

TEST_F(ToolbarOrderViewTest, HasARowForEveryToolButTheSettings)
{
    open();
    QStringList expected = {u"Toolbar icons"_s, u"Toolbar icons"_s};
    for (const Prefs::Tool &tool : Prefs::toolIDs()) {
        if (tool.id != u"settings") {
            expected << tool.title << tool.title << u"Move "_s + tool.title;
        }
    }
    EXPECT_EQ(window().names(), expected);
}

TEST_F(ToolbarOrderViewTest, ShowsTheStoredOrder)
{
    test::put(Shared::d(), u"toolOrder"_s, u"youtube,foo,settings,gif"_s);
    open();
    EXPECT_EQ(seen(), titles(u"youtube,gif,clipboard,emoji,sticker,translate,search,contacts,language"_s));
}

TEST_F(ToolbarOrderViewTest, ShowsBothRowsOfAToolThatIsStoredTwice)
{
    test::put(Shared::d(), u"toolOrder"_s, u"gif,foo,emoji,gif"_s);
    open();
    EXPECT_EQ(window().names().count(u"Move GIFs"_s), 2);
    EXPECT_EQ(window().names().count(u"Move Emoji"_s), 1);
}

TEST_F(ToolbarOrderViewTest, DrawsTheStickerForItsSizeInPoints)
{
    open();
    QStringList images;
    for (const QQuickItem *item : row(u"Stickers"_s)->findChildren<QQuickItem *>()) {
        if (item->inherits("QQuickImage")) {
            images.append(item->property("source").toUrl().fileName());
        }
    }
    EXPECT_TRUE(images.contains(u"custom.sticker@23"_s)) << images.join(u' ').toStdString();
}

TEST_F(ToolbarOrderViewTest, MovesARowThatIsDraggedDown)
{
    open();
    pressHandle(u"Clipboard"_s);
    dragTo(middle(handle(u"Stickers"_s)).y());
    release();
    EXPECT_EQ(storedOrder(),
              u"settings,emoji,gif,sticker,clipboard,translate,search,youtube,contacts,language");
    EXPECT_EQ(seen(), titles(storedOrder()).mid(1));
}

TEST_F(ToolbarOrderViewTest, MovesARowThatIsDraggedUp)
{
    open();
    pressHandle(u"Translate"_s);
    dragTo(middle(handle(u"Emoji"_s)).y());
    release();
    EXPECT_EQ(storedOrder(),
              u"settings,clipboard,translate,emoji,gif,sticker,search,youtube,contacts,language");
    EXPECT_EQ(seen(), titles(storedOrder()).mid(1));
}

TEST_F(ToolbarOrderViewTest, MovesARowOverTheSettingsThatHaveNone)
{
    test::put(Shared::d(), u"toolOrder"_s, u"clipboard,settings,emoji,gif"_s);
    open();
    pressHandle(u"Clipboard"_s);
    dragTo(middle(handle(u"Emoji"_s)).y());
    release();
    EXPECT_EQ(storedOrder(),
              u"settings,emoji,clipboard,gif,sticker,translate,search,youtube,contacts,language");
}

TEST_F(ToolbarOrderViewTest, MakesRoomWhileARowIsDraggedAndStoresAtTheDrop)
{
    open();
    const QSignalSpy moved(&tools(), &QAbstractItemModel::rowsMoved);
    const double top = row(u"Emoji"_s)->y();
    pressHandle(u"Clipboard"_s);
    dragTo(middle(handle(u"GIFs"_s)).y());
    EXPECT_TRUE(waitUntil([&] { return row(u"Emoji"_s)->y() == 0; }));
    EXPECT_GT(row(u"Clipboard"_s)->y(), top);
    EXPECT_EQ(storedOrder(), u"none");
    EXPECT_TRUE(moved.isEmpty());
    release();
    EXPECT_EQ(moved.size(), 1);
    EXPECT_NE(storedOrder(), u"none");
}

TEST_F(ToolbarOrderViewTest, StoresNothingWhereARowIsDroppedWhereItWas)
{
    open();
    const QStringList before = seen();
    pressHandle(u"Emoji"_s);
    release();
    const double home = middle(handle(u"Emoji"_s)).y();
    pressHandle(u"Emoji"_s);
    dragTo(middle(handle(u"YouTube"_s)).y());
    dragTo(home + 5);
    release();
    EXPECT_EQ(seen(), before);
    EXPECT_EQ(storedOrder(), u"none");
}

TEST_F(ToolbarOrderViewTest, PutsADraggedRowBackWhenEscapeIsPressed)
{
    open();
    const QStringList before = seen();
    pressHandle(u"Clipboard"_s);
    dragTo(middle(handle(u"GIFs"_s)).y());
    window().press(Qt::Key_Escape);
    EXPECT_EQ(seen(), before);
    dragTo(middle(handle(u"YouTube"_s)).y());
    release();
    EXPECT_EQ(seen(), before);
    EXPECT_EQ(storedOrder(), u"none");
}

TEST_F(ToolbarOrderViewTest, MovesARowThatIsDraggedByAFinger)
{
    open();
    const std::unique_ptr<QPointingDevice> screen(QTest::createTouchDevice());
    const QPoint from = middle(handle(u"Clipboard"_s)).toPoint();
    const QPoint to = middle(handle(u"GIFs"_s)).toPoint();
    QTest::touchEvent(&window().view(), screen.get()).press(0, from);
    for (int y = from.y(); y <= to.y(); y += 4) {
        QTest::touchEvent(&window().view(), screen.get()).move(0, {from.x(), y});
    }
    QTest::touchEvent(&window().view(), screen.get()).release(0, to);
    EXPECT_EQ(storedOrder(),
              u"settings,emoji,gif,clipboard,sticker,translate,search,youtube,contacts,language");
    EXPECT_EQ(flickable()->property("contentY").toDouble(), 0);
}

TEST_F(ToolbarOrderViewTest, ScrollsWhileARowIsHeldNearAnEdge)
{
    open(QSize(360, 360));
    pressHandle(u"Clipboard"_s);
    dragTo(window().view().height() - 4);
    const auto position = [this](const char *property) { return flickable()->property(property).toDouble(); };
    const double last = position("contentHeight") - flickable()->height();
    ASSERT_GT(last, 100);
    EXPECT_TRUE(waitUntil([&] { return position("contentY") == last; }));
    release();
    EXPECT_EQ(storedOrder(),
              u"settings,emoji,gif,sticker,translate,search,youtube,contacts,language,clipboard");

    EXPECT_EQ(seen().last(), u"Clipboard");
    pressHandle(u"Clipboard"_s);
    dragTo(60);
    EXPECT_TRUE(waitUntil([&] { return position("contentY") == 0; }));
    dragTo(0);
    release();
    EXPECT_EQ(seen().first(), u"Clipboard");
}

TEST_F(ToolbarOrderViewTest, MovesARowByTheArrowKeysOnItsHandle)
{
    open();
    handle(u"Emoji"_s)->forceActiveFocus(Qt::TabFocusReason);
    const std::pair<Qt::Key, QString> rows[] = {
        {Qt::Key_Down, u"settings,clipboard,gif,emoji,sticker,translate,search,youtube,contacts,language"_s},
        {Qt::Key_Down, u"settings,clipboard,gif,sticker,emoji,translate,search,youtube,contacts,language"_s},
        {Qt::Key_Up, u"settings,clipboard,gif,emoji,sticker,translate,search,youtube,contacts,language"_s},
        {Qt::Key_Up, u"settings,clipboard,emoji,gif,sticker,translate,search,youtube,contacts,language"_s},
        {Qt::Key_Up, u"settings,emoji,clipboard,gif,sticker,translate,search,youtube,contacts,language"_s},
        {Qt::Key_Up, u"settings,emoji,clipboard,gif,sticker,translate,search,youtube,contacts,language"_s},
    };
    for (const auto &[key, stored] : rows) {
        window().press(key);
        EXPECT_EQ(storedOrder(), stored);
        EXPECT_EQ(window().view().activeFocusItem(), handle(u"Emoji"_s));
    }
    EXPECT_EQ(seen().first(), u"Emoji");
}

TEST_F(ToolbarOrderViewTest, MovesARowByAltAndTheArrowKeysFromItsSwitch)
{
    open();
    qobject_cast<QQuickItem *>(toggle(u"Emoji"_s)->object())->forceActiveFocus(Qt::TabFocusReason);
    QQuickItem *const focused = window().view().activeFocusItem();
    window().press(Qt::Key_Down);
    EXPECT_EQ(storedOrder(), u"none");
    window().press(Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(storedOrder(),
              u"settings,clipboard,gif,emoji,sticker,translate,search,youtube,contacts,language");
    window().press(Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(storedOrder(),
              u"settings,clipboard,emoji,gif,sticker,translate,search,youtube,contacts,language");
    EXPECT_EQ(window().view().activeFocusItem(), focused);
}

TEST_F(ToolbarOrderViewTest, KeepsARowInSightThatTheKeyboardMoves)
{
    open(QSize(360, 360));
    handle(u"Clipboard"_s)->forceActiveFocus(Qt::TabFocusReason);
    for (int step = 0; step < 8; ++step) {
        window().press(Qt::Key_Down);
    }
    EXPECT_EQ(seen().last(), u"Clipboard");
    const QRectF bounds = handle(u"Clipboard"_s)->mapRectToScene(handle(u"Clipboard"_s)->boundingRect());
    EXPECT_TRUE(QRectF(0, 52, 360, 360 - 52).contains(bounds));
}

TEST_F(ToolbarOrderViewTest, IsWalkedThroughByTabInTheOrderThatIsSeen)
{
    open();
    tools().moveTo(1, 2);
    qobject_cast<QQuickItem *>(toggle(u"Emoji"_s)->object())->forceActiveFocus(Qt::TabFocusReason);
    QStringList walked;
    for (int step = 0; step < 4; ++step) {
        const auto *focused = QAccessible::queryAccessibleInterface(window().view().activeFocusItem());
        walked.append(focused->text(QAccessible::Name));
        window().press(Qt::Key_Tab);
    }
    EXPECT_EQ(walked, QStringList({u"Emoji"_s, u"Move Emoji"_s, u"Clipboard"_s, u"Move Clipboard"_s}));
}

TEST_F(ToolbarOrderViewTest, SwitchesAToolOffAndOn)
{
    open();
    auto *const item = qobject_cast<QQuickItem *>(toggle(u"GIFs"_s)->object());
    window().click(item);
    EXPECT_EQ(storedHidden(), u"gif");
    EXPECT_FALSE(toggle(u"GIFs"_s)->state().checked);
    window().click(item);
    EXPECT_EQ(storedHidden(), u"");
    EXPECT_TRUE(toggle(u"GIFs"_s)->state().checked);
    item->forceActiveFocus(Qt::TabFocusReason);
    window().press(Qt::Key_Space);
    EXPECT_EQ(storedHidden(), u"gif");
}

TEST_F(ToolbarOrderViewTest, ShowsWhichToolsAreHidden)
{
    test::put(Shared::d(), u"toolHidden"_s, u"settings,emoji,foo"_s);
    open();
    EXPECT_FALSE(toggle(u"Emoji"_s)->state().checked);
    EXPECT_TRUE(toggle(u"GIFs"_s)->state().checked);
}

TEST_F(ToolbarOrderViewTest, TakesBackWhatCannotBeStoredAndSaysWhy)
{
    Prefs::setTools(Prefs::toolOrder(), {});
    open();
    const QStringList before = seen();
    const RefusedKey refused("toolOrder");
    window().click(qobject_cast<QQuickItem *>(toggle(u"GIFs"_s)->object()));
    EXPECT_TRUE(toggle(u"GIFs"_s)->state().checked);
    EXPECT_THAT(tools().note().toStdString(), testing::HasSubstr("no room"));
    EXPECT_TRUE(window().find(tools().note(), QAccessible::AlertMessage) != nullptr);
    pressHandle(u"Clipboard"_s);
    dragTo(middle(handle(u"GIFs"_s)).y());
    release();
    EXPECT_EQ(seen(), before);
}

TEST_F(ToolbarOrderViewTest, TellsScreenReadersWhereAToolIs)
{
    open();
    const QAccessibleInterface *emoji = window().find(u"Move Emoji"_s);
    EXPECT_EQ(emoji->role(), QAccessible::Slider);
    EXPECT_TRUE(emoji->state().focusable);
    EXPECT_EQ(emoji->text(QAccessible::Description), u"2 of 9");
    tools().moveTo(2, 9);
    EXPECT_EQ(emoji->text(QAccessible::Description), u"9 of 9");
    EXPECT_EQ(window().find(u"Move GIFs"_s)->text(QAccessible::Description), u"2 of 9");
    EXPECT_EQ(window().find(u"Emoji"_s)->role(), QAccessible::ListItem);
    EXPECT_EQ(toggle(u"Emoji"_s)->role(), QAccessible::CheckBox);
    EXPECT_EQ(toggle(u"Emoji"_s)->text(QAccessible::Name), u"Emoji");
}

TEST_F(ToolbarOrderViewTest, LetsScreenReadersMoveATool)
{
    open();
    QAccessibleInterface *emoji = window().find(u"Move Emoji"_s);
    QAccessibleActionInterface *actions = emoji->actionInterface();
    ASSERT_TRUE(actions != nullptr);
    EXPECT_THAT(actions->actionNames(), testing::Contains(QAccessibleActionInterface::increaseAction()));
    actions->doAction(QAccessibleActionInterface::increaseAction());
    EXPECT_EQ(storedOrder(),
              u"settings,clipboard,gif,emoji,sticker,translate,search,youtube,contacts,language");
    actions->doAction(QAccessibleActionInterface::decreaseAction());
    EXPECT_EQ(storedOrder(),
              u"settings,clipboard,emoji,gif,sticker,translate,search,youtube,contacts,language");

    QAccessibleValueInterface *value = emoji->valueInterface();
    ASSERT_TRUE(value != nullptr);
    EXPECT_EQ(value->currentValue(), 2);
    EXPECT_EQ(value->minimumValue(), 1);
    EXPECT_EQ(value->maximumValue(), 9);
    value->setCurrentValue(1);
    EXPECT_EQ(storedOrder(),
              u"settings,emoji,clipboard,gif,sticker,translate,search,youtube,contacts,language");
    EXPECT_EQ(value->currentValue(), 1);
    actions->doAction(QAccessibleActionInterface::increaseAction());
    EXPECT_EQ(value->currentValue(), 2);
}

TEST_F(ToolbarOrderViewTest, LetsScreenReadersHideATool)
{
    open();
    toggle(u"Emoji"_s)->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_EQ(storedHidden(), u"emoji");
}

TEST_F(ToolbarOrderViewTest, FitsIntoNarrowWindowsWithLargeTypeInBothDirections)
{
    QFont font = QGuiApplication::font();
    for (const double points : {11.0, 22.0, 33.0}) {
        for (const bool mirrored : {false, true}) {
            SCOPED_TRACE(points * (mirrored ? -1 : 1));
            font.setPointSizeF(points);
            QGuiApplication::setFont(font);
            open();
            QQmlContext *const context = qmlContext(window().root());
            QQmlProperty(window().root(), u"LayoutMirroring.enabled"_s, context).write(mirrored);
            QQmlProperty(window().root(), u"LayoutMirroring.childrenInherit"_s, context).write(true);
            EXPECT_EQ(seen().size(), 9);
            for (const QString &title : seen()) {
                const QQuickItem *line = row(title);
                for (const QQuickItem *item : line->findChildren<QQuickItem *>()) {
                    const QString type = QString::fromLatin1(item->metaObject()->className());
                    if (type == u"QQuickText") {
                        EXPECT_LE(item->property("contentWidth").toDouble(), item->width());
                        EXPECT_LE(item->property("contentHeight").toDouble(), item->height());
                    }
                }
                const auto place = [&](const QQuickItem *item) {
                    return item->mapRectToItem(line, item->boundingRect());
                };
                const QRectF grip = place(handle(title));
                const QRectF flip = place(qobject_cast<QQuickItem *>(toggle(title)->object()));
                EXPECT_TRUE(line->boundingRect().contains(grip));
                EXPECT_TRUE(line->boundingRect().contains(flip));
                EXPECT_EQ(mirrored, grip.center().x() < flip.center().x());
                EXPECT_FALSE(grip.intersects(flip));
            }
        }
    }
}

TEST_F(ToolbarOrderViewTest, ShowsWhatAnotherProcessHasChangedUnlessARowIsHeld)
{
    PageModel page({u"look"_s, u"Look"_s, {}, {}});
    open(page);
    const QStringList first = tools().order();
    QStringList changed = first;
    changed.move(0, 3);
    const auto changeElsewhere = [&](const QStringList &order) {
        test::put(Shared::d(), u"toolOrder"_s, order.join(u','));
        Prefs::forget();
        page.reload();
    };
    changeElsewhere(changed);
    EXPECT_EQ(tools().order(), changed);

    pressHandle(u"Emoji"_s);
    changeElsewhere(first);
    EXPECT_EQ(tools().order(), changed);
    release();
    EXPECT_EQ(tools().order(), first);
}

} // namespace kavrin::test
