// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/StatusNotifierTray.h"

#include "BusPeer.h"
#include "FakeStatusNotifierWatcher.h"
#include "support/PrivateBus.h"
#include "support/Wait.h"

#include <QDBusConnectionInterface>
#include <QGuiApplication>
#include <QPixmap>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;
using Host = FakeStatusNotifierWatcher::Host;

const QString unknownMethod = u"org.freedesktop.DBus.Error.UnknownMethod"_s;

QIcon icon(const QColor &color)
{
    QPixmap pixmap(1, 1);
    pixmap.fill(color);
    return QIcon(pixmap);
}

Tray::Content content(const QColor &color, const QString &toolTip, const QStringList &menu)
{
    return {.icon = icon(color), .toolTip = toolTip, .menu = menu};
}

/// A session bus of the test's own, with a watcher, and the tray there, which shows something wherever it is.
struct Desktop {
    explicit Desktop(Host host = Host::Present) : watcher(bus.connection(), host)
    {
        QObject::connect(tray.get(), &Tray::changed, [this] {
            ++changes;
            tray->show(shown);
        });
        QObject::connect(tray.get(), &Tray::activated, [this] { ++clicks; });
        QObject::connect(tray.get(), &Tray::chosen, [this](int entry) { chosen.push_back(entry); });
    }

    /// The icon that has been registered last; waits until there has been such a one.
    QString item()
    {
        EXPECT_TRUE(waitUntil([&] { return !watcher.items().isEmpty(); }));
        return watcher.items().value(watcher.items().size() - 1);
    }

    BusPeer panel()
    {
        return {bus.connection(), item(), u"/StatusNotifierItem"_s, u"org.kde.StatusNotifierItem"_s};
    }

    [[nodiscard]] bool isOnBus(const QString &service) const
    {
        return bus.connection().interface()->isServiceRegistered(service);
    }

    PrivateBus bus = PrivateBus("DBUS_SESSION_BUS_ADDRESS");
    FakeStatusNotifierWatcher watcher;
    Tray::Content shown = content(Qt::red, u"ready"_s, {u"Open"_s, u"Quit"_s});
    int changes = 0;
    int clicks = 0;
    std::vector<int> chosen;
    std::unique_ptr<StatusNotifierTray> tray =
        std::make_unique<StatusNotifierTray>(QDBusConnection::sessionBus());
};

} // namespace

TEST(StatusNotifierTray, SaysWhatItShows)
{
    QGuiApplication::setApplicationName(u"kavrin"_s);
    QGuiApplication::setApplicationDisplayName(u"Kavrin"_s);
    const std::vector<std::pair<QString, QString>> cases = {
        {u"Category"_s, u"ApplicationStatus"_s},
        {u"Id"_s, u"kavrin"_s},
        {u"Title"_s, u"Kavrin"_s},
        {u"Status"_s, u"Active"_s},
        {u"IconName"_s, u""_s},
        {u"IconPixmap"_s, u"[(1 1 ffff0000)]"_s},
        {u"OverlayIconName"_s, u""_s},
        {u"OverlayIconPixmap"_s, u"[]"_s},
        {u"AttentionIconName"_s, u""_s},
        {u"AttentionIconPixmap"_s, u"[]"_s},
        {u"AttentionMovieName"_s, u""_s},
        {u"ToolTip"_s, u"( [] ready )"_s},
        {u"ItemIsMenu"_s, u"false"_s},
        {u"Menu"_s, u"/MenuBar"_s},
        {u"NoSuch"_s, u"org.freedesktop.DBus.Error.UnknownProperty"_s},
    };
    Desktop desktop;
    BusPeer panel = desktop.panel();
    for (const auto &[name, expected] : cases) {
        EXPECT_EQ(panel.property(name), expected) << name.toStdString();
    }
}

TEST(StatusNotifierTray, TellsWhatChanges)
{
    struct Case {
        std::string name;
        Tray::Content content;
        QStringList item;
        QStringList menu;
    };
    const QStringList entries = {u"Open"_s, u"Quit"_s};
    const std::vector<Case> cases = {
        {"nothing", content(Qt::red, u"ready"_s, entries), {}, {}},
        {"the icon", content(Qt::blue, u"ready"_s, entries), {u"NewIcon"_s}, {}},
        {"the tooltip", content(Qt::blue, u"busy"_s, entries), {u"NewToolTip"_s}, {}},
        {"an entry",
         content(Qt::blue, u"busy"_s, {u"Open"_s, u"End"_s}),
         {},
         {u"ItemsPropertiesUpdated [(2 {label: End})] []"_s}},
        {"everything",
         content(Qt::green, u""_s, {u"Open"_s}),
         {u"NewIcon"_s, u"NewToolTip"_s},
         {u"LayoutUpdated 3 0"_s}},
    };
    Desktop desktop;
    BusPeer item = desktop.panel();
    BusPeer menu(desktop.bus.connection(), desktop.item(), item.property(u"Menu"_s),
                 u"com.canonical.dbusmenu"_s);
    for (const Case &each : cases) {
        SCOPED_TRACE(each.name);
        desktop.tray->show(each.content);
        EXPECT_EQ(item.takeSignals(), each.item);
        EXPECT_EQ(menu.takeSignals(), each.menu);
    }
    EXPECT_EQ(item.property(u"ToolTip"_s), u"( []  )"_s);
    EXPECT_EQ(desktop.watcher.items().size(), 1);
}

TEST(StatusNotifierTray, TellsClicks)
{
    struct Case {
        QString method;
        QVariantList arguments;
        QString answer;
        int clicks;
    };
    const std::vector<Case> cases = {
        {u"Activate"_s, {0, 0}, u""_s, 1},
        {u"Activate"_s, {-5, 100'000}, u""_s, 1},
        {u"SecondaryActivate"_s, {1, 2}, u""_s, 1},
        {u"ContextMenu"_s, {1, 2}, u""_s, 0},
        {u"Scroll"_s, {-120, u"vertical"_s}, u""_s, 0},
        {u"Scroll"_s, {1, u"no-such"_s}, u""_s, 0},
        {u"Activate"_s, {}, unknownMethod, 0},
        {u"Activate"_s, {u"0"_s, 0}, unknownMethod, 0},
        {u"activated"_s, {}, unknownMethod, 0},
        {u"deleteLater"_s, {}, unknownMethod, 0},
    };
    Desktop desktop;
    BusPeer panel = desktop.panel();
    for (const Case &each : cases) {
        SCOPED_TRACE(each.method.toStdString());
        desktop.clicks = 0;
        EXPECT_EQ(panel.call(each.method, each.arguments), each.answer);
        EXPECT_EQ(desktop.clicks, each.clicks);
    }
    EXPECT_TRUE(desktop.chosen.empty());
}

TEST(StatusNotifierTray, TellsWhatIsChosenFromItsMenu)
{
    Desktop desktop;
    BusPeer menu(desktop.bus.connection(), desktop.item(), desktop.panel().property(u"Menu"_s),
                 u"com.canonical.dbusmenu"_s);
    const QVariant data = QVariant::fromValue(QDBusVariant(0));
    EXPECT_EQ(menu.call(u"Event"_s, {2, u"clicked"_s, data, 0U}), QString());
    EXPECT_EQ(desktop.chosen, std::vector<int>({1}));
    EXPECT_EQ(desktop.clicks, 0);
}

TEST(StatusNotifierTray, KeepsTheTokenForTheWindow)
{
    qputenv("XDG_ACTIVATION_TOKEN", "another");
    Desktop desktop;
    EXPECT_EQ(desktop.panel().call(u"ProvideXdgActivationToken"_s, {u"token"_s}), QString());
    EXPECT_EQ(qgetenv("XDG_ACTIVATION_TOKEN"), "token");
}

TEST(StatusNotifierTray, LetsNobodySetItsProperties)
{
    Desktop desktop;
    for (const QString &name : {u"Title"_s, u"ToolTip"_s, u"Menu"_s}) {
        const QDBusMessage answer = desktop.panel().ask(
            u"org.freedesktop.DBus.Properties"_s, u"Set"_s,
            {u"org.kde.StatusNotifierItem"_s, name, QVariant::fromValue(QDBusVariant(u"mine"_s))});
        EXPECT_EQ(answer.type(), QDBusMessage::ErrorMessage) << name.toStdString();
    }
}

TEST(StatusNotifierTray, IsThereAsLongAsThereIsAHost)
{
    Desktop desktop(Host::Absent);
    ASSERT_TRUE(waitUntil([&] { return desktop.watcher.wasAsked(); }));
    EXPECT_FALSE(desktop.tray->isAvailable());
    for (int round = 0; round < 3; ++round) {
        desktop.watcher.setHost(Host::Present);
        ASSERT_TRUE(waitUntil([&] { return desktop.watcher.items().size() == round + 1; }));
        EXPECT_TRUE(desktop.tray->isAvailable());
        EXPECT_EQ(desktop.panel().property(u"ToolTip"_s), u"( [] ready )"_s);
        desktop.watcher.setHost(Host::Absent);
        EXPECT_TRUE(waitUntil([&] { return !desktop.isOnBus(desktop.item()); }));
        EXPECT_FALSE(desktop.tray->isAvailable());
        EXPECT_EQ(desktop.changes, 2 * (round + 1));
    }
}

TEST(StatusNotifierTray, EntersAnewWhenTheWatcherRestarts)
{
    Desktop desktop;
    const QString first = desktop.item();
    desktop.watcher.restart();
    const QString second = desktop.item();
    EXPECT_NE(second, first);
    EXPECT_TRUE(desktop.tray->isAvailable());
    EXPECT_TRUE(waitUntil([&] { return !desktop.isOnBus(first); }));
    EXPECT_EQ(desktop.panel().call(u"Activate"_s, {0, 0}), QString());
    EXPECT_EQ(desktop.clicks, 1);
}

TEST(StatusNotifierTray, EntersWhenAWatcherComesLater)
{
    const PrivateBus bus("DBUS_SESSION_BUS_ADDRESS");
    StatusNotifierTray tray(QDBusConnection::sessionBus());
    QObject::connect(&tray, &Tray::changed, [&] { tray.show(content(Qt::red, u"ready"_s, {})); });
    for (int round = 0; round < 2; ++round) {
        const FakeStatusNotifierWatcher watcher(bus.connection());
        EXPECT_TRUE(waitUntil([&] { return watcher.items().size() == 1; }));
        EXPECT_TRUE(tray.isAvailable());
    }
    EXPECT_TRUE(waitUntil([&] { return !tray.isAvailable(); }));
}

TEST(StatusNotifierTray, LeavesWhenItIsDestroyed)
{
    Desktop desktop;
    const QString item = desktop.item();
    EXPECT_TRUE(desktop.isOnBus(item));
    desktop.tray.reset();
    EXPECT_TRUE(waitUntil([&] { return !desktop.isOnBus(item); }));
}

TEST(StatusNotifierTray, IsNotThereWithoutABus)
{
    StatusNotifierTray tray{QDBusConnection(QString())};
    EXPECT_FALSE(tray.isAvailable());
    tray.show(content(Qt::red, u"ready"_s, {u"Open"_s}));
    EXPECT_FALSE(tray.isAvailable());
}

} // namespace kavrin::test
