// SPDX-License-Identifier: MIT
#include "screens/ToolbarOrder.h"

#include "store/Prefs.h"
#include "store/Shared.h"
#include "store/SuiteWriter.h"
#include "support/OtherProgram.h"
#include "support/RefusedKey.h"
#include "support/Suite.h"
#include "support/Wait.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

const QString tableOrder =
    u"settings,clipboard,emoji,gif,sticker,translate,search,youtube,contacts,language"_s;

/// Not through Prefs, which would remember it.
void storeOrder(const QString &order)
{
    test::put(Shared::d(), u"toolOrder"_s, order);
}

QString storedOrder()
{
    return Shared::d().string(u"toolOrder"_s).value_or(u"none"_s);
}

QString storedHidden()
{
    return Shared::d().string(u"toolHidden"_s).value_or(u"none"_s);
}

/// The tools in the order of `order`, and a model of them that is checked at every change.
class CheckedOrder
{
public:
    explicit CheckedOrder(const QString &order)
    {
        Prefs::set(u"toolOrder"_s, order);
        m_order = std::make_unique<ToolbarOrder>();
        m_tester = std::make_unique<QAbstractItemModelTester>(m_order.get());
    }
    CheckedOrder() : CheckedOrder(tableOrder) { }

    ToolbarOrder *operator->() { return m_order.get(); }
    ToolbarOrder *get() { return m_order.get(); }

    [[nodiscard]] int row(const QString &id) const { return int(m_order->order().indexOf(id)); }

    [[nodiscard]] QVariant data(int row, ToolbarOrder::Role role) const
    {
        return m_order->data(m_order->index(row), role);
    }

    /// The identifiers of the rows that the editor shows.
    [[nodiscard]] QString shown() const
    {
        QStringList ids;
        for (int row = 0; row < m_order->rowCount(); ++row) {
            if (data(row, ToolbarOrder::Shown).toBool()) {
                ids.append(data(row, ToolbarOrder::ToolId).toString());
            }
        }
        return ids.join(u',');
    }

private:
    std::unique_ptr<ToolbarOrder> m_order;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
};

} // namespace

TEST(ToolbarOrder, ShowsTheKnownToolsInStoredOrderWithoutSettings)
{
    const std::pair<QString, QString> rows[] = {
        {u""_s, u"clipboard,emoji,gif,sticker,translate,search,youtube,contacts,language"_s},
        {u"language,settings,emoji"_s,
         u"language,emoji,clipboard,gif,sticker,translate,search,youtube,contacts"_s},
        {u"gif,foo,emoji,gif"_s,
         u"gif,emoji,gif,clipboard,sticker,translate,search,youtube,contacts,language"_s},
        {u"foo,bar,Settings"_s, u"clipboard,emoji,gif,sticker,translate,search,youtube,contacts,language"_s},
        {u"youtube,contacts,search,settings,translate,sticker,gif,emoji,clipboard,language"_s,
         u"youtube,contacts,search,translate,sticker,gif,emoji,clipboard,language"_s},
    };
    for (const auto &[stored, shown] : rows) {
        SCOPED_TRACE(stored.toStdString());
        EXPECT_EQ(CheckedOrder(stored).shown(), shown);
    }
}

TEST(ToolbarOrder, LeavesWhatIsStoredUntouchedUntilTheFirstChange)
{
    storeOrder(u"gif,foo,emoji,gif"_s);
    ToolbarOrder order;
    order.move(0, 0);
    order.move(0, 1);
    order.setVisible(0, true);
    EXPECT_EQ(storedOrder(), u"gif,foo,emoji,gif");
    EXPECT_EQ(storedHidden(), u"none");
    EXPECT_FALSE(Shared::d().object(u"settingsRevision"_s).has_value());
}

TEST(ToolbarOrder, HasARowForEveryEntryWithWhatTheTableSaysOfIt)
{
    CheckedOrder order;
    ASSERT_EQ(order->rowCount(), int(Prefs::toolIDs().size()));
    for (int row = 0; row < order->rowCount(); ++row) {
        const Prefs::Tool &tool = Prefs::toolIDs()[std::size_t(row)];
        SCOPED_TRACE(tool.id.toStdString());
        EXPECT_EQ(order.data(row, ToolbarOrder::ToolId), tool.id);
        EXPECT_EQ(order.data(row, ToolbarOrder::Title), tool.title);
        EXPECT_EQ(order.data(row, ToolbarOrder::Icon), tool.icon);
        EXPECT_EQ(order.data(row, ToolbarOrder::Shown), tool.id != u"settings");
        EXPECT_EQ(order.data(row, ToolbarOrder::VisibleTool), true);
    }
}

TEST(ToolbarOrder, CountsThePositionsOfTheShownRowsOnly)
{
    CheckedOrder order(u"gif,settings,emoji"_s);
    EXPECT_EQ(order.data(0, ToolbarOrder::Position), 1);
    EXPECT_EQ(order.data(1, ToolbarOrder::Position), 0);
    EXPECT_EQ(order.data(2, ToolbarOrder::Position), 2);
    EXPECT_EQ(order.data(9, ToolbarOrder::Position), 9);
    EXPECT_EQ(order->shownCount(), 9);
}

TEST(ToolbarOrder, MovesByPositionsOfTheWholeOrder)
{
    struct Row {
        QString order;
        int from, toOffset;
        QString stored;
    };
    const Row rows[] = {
        {tableOrder, 1, 3,
         u"settings,emoji,clipboard,gif,sticker,translate,search,youtube,contacts,language"_s},
        {tableOrder, 3, 1,
         u"settings,gif,clipboard,emoji,sticker,translate,search,youtube,contacts,language"_s},
        // To the ends.
        {tableOrder, 1, 10,
         u"settings,emoji,gif,sticker,translate,search,youtube,contacts,language,clipboard"_s},
        {tableOrder, 9, 0,
         u"language,settings,clipboard,emoji,gif,sticker,translate,search,youtube,contacts"_s},
        // Over the settings.
        {u"clipboard,settings,emoji"_s, 2, 1,
         u"clipboard,emoji,settings,gif,sticker,translate,search,youtube,contacts,language"_s},
        {u"clipboard,settings,emoji"_s, 0, 2,
         u"settings,clipboard,emoji,gif,sticker,translate,search,youtube,contacts,language"_s},
        // One of a tool that is there twice; what is unknown is gone with the first change.
        {u"gif,foo,emoji,gif"_s, 2, 0,
         u"gif,gif,emoji,settings,clipboard,sticker,translate,search,youtube,contacts,language"_s},
    };
    for (const Row &row : rows) {
        CheckedOrder order(row.order);
        order->move(row.from, row.toOffset);
        EXPECT_EQ(storedOrder(), row.stored);
        EXPECT_EQ(order->order().join(u','), row.stored);
        EXPECT_EQ(storedHidden(), u"");
    }
}

TEST(ToolbarOrder, IgnoresAMoveThatChangesNothingOrLeadsNowhere)
{
    CheckedOrder order;
    test::drop(Shared::d(), u"toolOrder"_s);
    const std::pair<int, int> moves[] = {{2, 2}, {2, 3}, {-1, 3}, {10, 3}, {3, -1}, {3, 11}};
    for (const auto &[from, toOffset] : moves) {
        SCOPED_TRACE(from * 100 + toOffset);
        order->move(from, toOffset);
        EXPECT_EQ(storedOrder(), u"none");
    }
}

TEST(ToolbarOrder, TellsViewsOfAMove)
{
    CheckedOrder order;
    QSignalSpy moved(order.get(), &QAbstractItemModel::rowsMoved);
    const QSignalSpy reset(order.get(), &QAbstractItemModel::modelReset);
    order->move(1, 4);
    ASSERT_EQ(moved.size(), 1);
    EXPECT_EQ(moved[0][1], 1);
    EXPECT_EQ(moved[0][2], 1);
    EXPECT_EQ(moved[0][4], 4);
    EXPECT_TRUE(reset.isEmpty());
}

TEST(ToolbarOrder, MovesByShownPositions)
{
    struct Row {
        QString order, tool;
        int position;
        QString stored;
    };
    const QString rest = u",sticker,translate,search,youtube,contacts,language"_s;
    const Row rows[] = {
        {u"clipboard,settings,emoji,gif"_s, u"clipboard"_s, 2, u"settings,emoji,clipboard,gif"_s + rest},
        {u"clipboard,settings,emoji,gif"_s, u"emoji"_s, 1, u"emoji,clipboard,settings,gif"_s + rest},
        {u"clipboard,settings,emoji,gif"_s, u"gif"_s, 2, u"clipboard,settings,gif,emoji"_s + rest},
        {u"settings,clipboard,emoji,gif"_s, u"gif"_s, 1, u"settings,gif,clipboard,emoji"_s + rest},
        // The nearest one.
        {u"settings,clipboard,emoji,gif"_s, u"emoji"_s, -5, u"settings,emoji,clipboard,gif"_s + rest},
        {u"settings,clipboard,emoji,gif"_s, u"emoji"_s, 99, u"settings,clipboard,gif"_s + rest + u",emoji"_s},
    };
    for (const Row &row : rows) {
        CheckedOrder order(row.order);
        order->moveTo(order.row(row.tool), row.position);
        EXPECT_EQ(storedOrder(), row.stored);
    }
}

TEST(ToolbarOrder, DoesNotMoveWhatIsNotShown)
{
    CheckedOrder order;
    order->moveTo(0, 5);
    order->moveTo(-1, 5);
    order->moveTo(10, 5);
    EXPECT_EQ(order->order().join(u','), tableOrder);
}

TEST(ToolbarOrder, HidesAndShowsATool)
{
    CheckedOrder order;
    order->setVisible(order.row(u"youtube"_s), false);
    order->setVisible(order.row(u"emoji"_s), false);
    EXPECT_EQ(storedHidden(), u"emoji,youtube");
    EXPECT_EQ(order.data(order.row(u"emoji"_s), ToolbarOrder::VisibleTool), false);
    order->setVisible(order.row(u"youtube"_s), true);
    EXPECT_EQ(storedHidden(), u"emoji");
    EXPECT_EQ(order.data(order.row(u"youtube"_s), ToolbarOrder::VisibleTool), true);
    EXPECT_EQ(storedOrder(), tableOrder);
}

TEST(ToolbarOrder, MayHideEverythingButTheSettings)
{
    CheckedOrder order;
    for (int row = 0; row < order->rowCount(); ++row) {
        order->setVisible(row, false);
    }
    EXPECT_EQ(storedHidden(), u"clipboard,contacts,emoji,gif,language,search,sticker,translate,youtube");
    EXPECT_EQ(order.data(0, ToolbarOrder::VisibleTool), true);
}

TEST(ToolbarOrder, KeepsHiddenToolsThatItDoesNotKnow)
{
    Prefs::set(u"toolHidden"_s, u"settings,foo,gif"_s);
    CheckedOrder order;
    order->setVisible(order.row(u"gif"_s), true);
    EXPECT_EQ(storedHidden(), u"foo");
    order->setVisible(order.row(u"emoji"_s), false);
    EXPECT_EQ(storedHidden(), u"emoji,foo");
}

TEST(ToolbarOrder, HidesBothRowsOfAToolThatIsThereTwice)
{
    CheckedOrder order(u"gif,emoji,gif"_s);
    QSignalSpy changed(order.get(), &QAbstractItemModel::dataChanged);
    order->setVisible(0, false);
    EXPECT_EQ(order.data(0, ToolbarOrder::VisibleTool), false);
    EXPECT_EQ(order.data(2, ToolbarOrder::VisibleTool), false);
    ASSERT_EQ(changed.size(), 1);
    EXPECT_GE(changed[0][1].toModelIndex().row(), 2);
}

TEST(ToolbarOrder, StaysAsStoredAndSaysWhyWhereAChangeCannotBeStored)
{
    CheckedOrder order;
    const QSignalSpy noted(order.get(), &ToolbarOrder::noteChanged);
    {
        const RefusedKey refusedOrder("toolOrder");
        order->move(1, 5);
    }
    EXPECT_EQ(storedOrder(), tableOrder);
    EXPECT_EQ(order->order().join(u','), tableOrder);
    EXPECT_EQ(noted.size(), 1);
    EXPECT_TRUE(order->note().startsWith(u"This could not be saved. ")) << qPrintable(order->note());
}

TEST(ToolbarOrder, SaysWhatTheSuiteSays)
{
    CheckedOrder order;
    const RefusedKey refusedHidden("toolHidden");
    order->setVisible(1, false);
    EXPECT_TRUE(order->note().contains(u"no room")) << qPrintable(order->note());
    EXPECT_EQ(order.data(1, ToolbarOrder::VisibleTool), true);
}

TEST(ToolbarOrder, TakesAChangeBackOfWhichHalfCannotBeStored)
{
    CheckedOrder order;
    const RefusedKey refusedHidden("toolHidden");
    order->move(1, 3);
    EXPECT_EQ(storedOrder(), tableOrder);
    EXPECT_EQ(order->order().join(u','), tableOrder);
    EXPECT_FALSE(order->note().isEmpty());
}

TEST(ToolbarOrder, ForgetsTheNoteOnceAChangeIsStored)
{
    CheckedOrder order;
    {
        const RefusedKey refusedHidden("toolHidden");
        order->setVisible(1, false);
    }
    order->setVisible(1, false);
    EXPECT_EQ(order->note(), u"");
    EXPECT_EQ(storedHidden(), u"clipboard");
}

TEST(ToolbarOrder, TellsTheNextPageOfAChangeThatFailsAfterItsPageWasClosed)
{
    const SuiteWriter writer;
    const RefusedKey refused("toolOrder");
    for (const bool isReopenedFirst : {true, false}) {
        SCOPED_TRACE(isReopenedFirst);
        OtherProgram other;
        other.execute("BEGIN IMMEDIATE");
        std::make_unique<ToolbarOrder>()->move(1, 3);
        auto reopened = isReopenedFirst ? std::make_unique<ToolbarOrder>() : nullptr;
        other.execute("COMMIT");
        // The writer makes changes in their order.
        const auto next = SuiteWriter::write({{u"other"_s, true}});
        EXPECT_TRUE(waitUntil([&] { return next.isFinished(); }));
        if (!reopened) {
            reopened = std::make_unique<ToolbarOrder>();
        }
        EXPECT_TRUE(waitUntil([&] { return !reopened->note().isEmpty(); }));
        EXPECT_EQ(reopened->order().join(u','), tableOrder);
        EXPECT_EQ(ToolbarOrder().note(), u"");
    }
}

} // namespace kavrin::test
