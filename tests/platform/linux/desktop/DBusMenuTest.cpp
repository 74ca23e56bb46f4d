// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/DBusMenu.h"

#include "BusPeer.h"
#include "support/PrivateBus.h"

#include <QDBusConnection>
#include <QDBusMetaType>

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

constexpr int lowest = std::numeric_limits<int>::min();
constexpr int highest = std::numeric_limits<int>::max();

const QString invalid = u"org.freedesktop.DBus.Error.InvalidArgs"_s;
const QString unknownMethod = u"org.freedesktop.DBus.Error.UnknownMethod"_s;
const QString path = u"/MenuBar"_s;

QVariant ids(const QList<int> &ids)
{
    return QVariant::fromValue(ids);
}

QVariant data()
{
    return QVariant::fromValue(QDBusVariant(u""_s));
}

QVariant events(const QList<std::pair<int, QString>> &happened)
{
    QList<DBusMenuEvent> events;
    for (const auto &[id, type] : happened) {
        events.append({id, type, QDBusVariant(u""_s), 0});
    }
    return QVariant::fromValue(events);
}

/// The menu with three entries on a bus of the test's own, and a panel that draws it.
struct Desktop {
    Desktop()
    {
        menu.setTitles({u"Open"_s, u"Start"_s, u"Quit"_s});
        QObject::connect(&menu, &DBusMenu::chosen, [this](int entry) { chosen.push_back(entry); });
        session.registerObject(path, &menu, QDBusConnection::ExportScriptableContents);
    }

    PrivateBus bus = PrivateBus("DBUS_SESSION_BUS_ADDRESS");
    QDBusConnection session = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"menu"_s);
    DBusMenu menu;
    std::vector<int> chosen;
    BusPeer panel = BusPeer(bus.connection(), session.baseService(), path, u"com.canonical.dbusmenu"_s);
};

} // namespace

TEST(DBusMenu, SaysWhatItIs)
{
    const std::vector<std::pair<QString, QString>> cases = {
        {u"Version"_s, u"3"_s},
        {u"TextDirection"_s, u"ltr"_s},
        {u"Status"_s, u"normal"_s},
        {u"IconThemePath"_s, u"[]"_s},
    };
    Desktop desktop;
    for (const auto &[name, expected] : cases) {
        EXPECT_EQ(desktop.panel.property(name), expected) << name.toStdString();
    }
}

TEST(DBusMenu, AnswersEachCall)
{
    struct Case {
        QString method;
        QVariantList arguments;
        QString expected;
    };
    const QStringList all;
    const QStringList label = {u"label"_s};
    const QStringList others = {u"enabled"_s, u"no-such"_s, u""_s};
    const QString root = u"{children-display: submenu}"_s;
    const QString whole = u"2 (0 {children-display: submenu} "
                          "[(1 {label: Open} []) (2 {label: Start} []) (3 {label: Quit} [])])"_s;
    const std::vector<Case> cases = {
        {u"GetLayout"_s, {0, -1, all}, whole},
        {u"GetLayout"_s, {0, lowest, all}, whole},
        {u"GetLayout"_s, {0, highest, all}, whole},
        {u"GetLayout"_s, {0, 1, all}, whole},
        {u"GetLayout"_s, {0, 0, all}, u"2 (0 {children-display: submenu} [])"_s},
        {u"GetLayout"_s,
         {0, -1, label},
         u"2 (0 {} [(1 {label: Open} []) (2 {label: Start} []) (3 {label: Quit} [])])"_s},
        {u"GetLayout"_s, {0, -1, others}, u"2 (0 {} [(1 {} []) (2 {} []) (3 {} [])])"_s},
        {u"GetLayout"_s, {2, -1, all}, u"2 (2 {label: Start} [])"_s},
        {u"GetLayout"_s, {4, -1, all}, invalid},
        {u"GetLayout"_s, {-1, -1, all}, invalid},
        {u"GetLayout"_s, {highest, -1, all}, invalid},
        {u"GetLayout"_s, {u"0"_s, -1, all}, unknownMethod},
        {u"GetLayout"_s, {}, unknownMethod},
        {u"GetGroupProperties"_s, {ids({1, 3}), label}, u"[(1 {label: Open}) (3 {label: Quit})]"_s},
        {u"GetGroupProperties"_s, {ids({3, 3, 3}), all}, u"[(3 {label: Quit})]"_s},
        {u"GetGroupProperties"_s,
         {ids({}), all},
         u"[(0 {children-display: submenu}) (1 {label: Open}) (2 {label: Start}) (3 {label: Quit})]"_s},
        {u"GetGroupProperties"_s, {ids({4, 2, -1, lowest, highest}), all}, u"[(2 {label: Start})]"_s},
        {u"GetGroupProperties"_s, {ids({4}), all}, u"[]"_s},
        {u"GetGroupProperties"_s, {ids({1}), others}, u"[(1 {})]"_s},
        {u"GetProperty"_s, {1, u"label"_s}, u"Open"_s},
        {u"GetProperty"_s, {0, u"children-display"_s}, u"submenu"_s},
        {u"GetProperty"_s, {0, u"label"_s}, invalid},
        {u"GetProperty"_s, {1, u"no-such"_s}, invalid},
        {u"GetProperty"_s, {1, u""_s}, invalid},
        {u"GetProperty"_s, {4, u"label"_s}, invalid},
        {u"GetProperty"_s, {lowest, u"label"_s}, invalid},
        {u"AboutToShow"_s, {0}, u"false"_s},
        {u"AboutToShow"_s, {3}, u"false"_s},
        {u"AboutToShow"_s, {4}, invalid},
        {u"AboutToShow"_s, {-1}, invalid},
        {u"AboutToShowGroup"_s, {ids({0, 1})}, u"[] []"_s},
        {u"AboutToShowGroup"_s, {ids({0, 4, -1})}, u"[] [4 -1]"_s},
        {u"AboutToShowGroup"_s, {ids({})}, u"[] []"_s},
        {u"AboutToShowGroup"_s, {ids({4, 5})}, invalid},
        {u"NoSuchMethod"_s, {}, unknownMethod},
        {u"setTitles"_s, {QStringList{u"Mine"_s}}, unknownMethod},
        {u"chosen"_s, {0}, unknownMethod},
        {u"deleteLater"_s, {}, unknownMethod},
    };
    Desktop desktop;
    for (const Case &each : cases) {
        SCOPED_TRACE(each.method.toStdString() + " with " + each.expected.toStdString());
        EXPECT_EQ(desktop.panel.call(each.method, each.arguments), each.expected);
    }
    EXPECT_TRUE(desktop.chosen.empty());
    EXPECT_EQ(desktop.panel.takeSignals(), QStringList());
}

TEST(DBusMenu, TellsWhatWasChosen)
{
    struct Case {
        QString method;
        QVariantList arguments;
        QString answer;
        std::vector<int> chosen;
    };
    const QString clicked = u"clicked"_s;
    const std::vector<Case> cases = {
        {u"Event"_s, {1, clicked, data(), 0U}, u""_s, {0}},
        {u"Event"_s, {3, clicked, data(), 4'294'967'295U}, u""_s, {2}},
        {u"Event"_s, {2, u"hovered"_s, data(), 0U}, u""_s, {}},
        {u"Event"_s, {0, u"opened"_s, data(), 0U}, u""_s, {}},
        {u"Event"_s, {0, clicked, data(), 0U}, u""_s, {}},
        {u"Event"_s, {1, u"Clicked"_s, data(), 0U}, u""_s, {}},
        {u"Event"_s, {1, u""_s, data(), 0U}, u""_s, {}},
        {u"Event"_s, {4, clicked, data(), 0U}, invalid, {}},
        {u"Event"_s, {-1, clicked, data(), 0U}, invalid, {}},
        {u"Event"_s, {lowest, clicked, data(), 0U}, invalid, {}},
        {u"Event"_s, {highest, clicked, data(), 0U}, invalid, {}},
        {u"Event"_s, {1, clicked}, unknownMethod, {}},
        {u"EventGroup"_s, {events({{1, clicked}, {2, u"hovered"_s}, {3, clicked}})}, u"[]"_s, {0, 2}},
        {u"EventGroup"_s, {events({{9, clicked}, {2, clicked}, {-1, clicked}})}, u"[9 -1]"_s, {1}},
        {u"EventGroup"_s, {events({{9, clicked}})}, invalid, {}},
        {u"EventGroup"_s, {events({})}, u"[]"_s, {}},
    };
    Desktop desktop;
    for (const Case &each : cases) {
        SCOPED_TRACE(each.method.toStdString() + " with " + each.answer.toStdString());
        desktop.chosen.clear();
        EXPECT_EQ(desktop.panel.call(each.method, each.arguments), each.answer);
        EXPECT_EQ(desktop.chosen, each.chosen);
    }
}

TEST(DBusMenu, TellsWhatChanges)
{
    struct Case {
        QStringList titles;
        QStringList expected;
    };
    const std::vector<Case> cases = {
        {{u"Open"_s, u"Start"_s, u"Quit"_s}, {}},
        {{u"Open"_s, u"Stop"_s, u"Quit"_s}, {u"ItemsPropertiesUpdated [(2 {label: Stop})] []"_s}},
        {{u"Show"_s, u"Stop"_s, u"End"_s},
         {u"ItemsPropertiesUpdated [(1 {label: Show}) (3 {label: End})] []"_s}},
        {{u"Show"_s, u"End"_s}, {u"LayoutUpdated 3 0"_s}},
        {{}, {u"LayoutUpdated 4 0"_s}},
        {{}, {}},
        {{u"a_b"_s}, {u"LayoutUpdated 5 0"_s}},
        {{u"_a__b_"_s}, {u"ItemsPropertiesUpdated [(1 {label: __a____b__})] []"_s}},
        {{u"日本 & <b>"_s}, {u"ItemsPropertiesUpdated [(1 {label: 日本 & <b>})] []"_s}},
    };
    Desktop desktop;
    for (const Case &each : cases) {
        SCOPED_TRACE(each.titles.join(u'|').toStdString());
        desktop.menu.setTitles(each.titles);
        EXPECT_EQ(desktop.panel.takeSignals(), each.expected);
    }
    EXPECT_EQ(desktop.panel.call(u"GetLayout"_s, {0, -1, QStringList()}),
              u"5 (0 {children-display: submenu} [(1 {label: 日本 & <b>} [])])"_s);
}

TEST(DBusMenu, LeavesOutAnEntryWithoutATitleAndKeepsTheNumbersOfTheOthers)
{
    Desktop desktop;
    desktop.menu.setTitles({u"Open"_s, u""_s, u"Quit"_s});
    EXPECT_EQ(desktop.panel.takeSignals(), QStringList{u"LayoutUpdated 3 0"_s});
    EXPECT_EQ(desktop.panel.call(u"GetLayout"_s, {0, -1, QStringList()}),
              u"3 (0 {children-display: submenu} [(1 {label: Open} []) (3 {label: Quit} [])])"_s);
    EXPECT_EQ(desktop.panel.call(u"Event"_s, {2, u"clicked"_s, data(), 0U}), invalid);
    desktop.panel.call(u"Event"_s, {3, u"clicked"_s, data(), 0U});
    EXPECT_EQ(desktop.chosen, std::vector<int>{2});
    desktop.menu.setTitles({u"Open"_s, u"Cancel"_s, u"Quit"_s});
    EXPECT_EQ(desktop.panel.takeSignals(), QStringList{u"LayoutUpdated 4 0"_s});
}

TEST(DBusMenu, LetsNobodySetItsProperties)
{
    Desktop desktop;
    const QDBusMessage answer = desktop.panel.ask(u"org.freedesktop.DBus.Properties"_s, u"Set"_s,
                                                  {u"com.canonical.dbusmenu"_s, u"Status"_s, data()});
    EXPECT_EQ(answer.errorName(), u"org.freedesktop.DBus.Error.PropertyReadOnly"_s);
}

} // namespace kavrin::test
