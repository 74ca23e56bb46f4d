// SPDX-License-Identifier: MIT
#include "platform/linux/typing/PortalShortcut.h"
#include "FakePortal.h"
#include "support/PrivateBus.h"
#include "support/Wait.h"

#include <QDBusMetaType>

#include <gmock/gmock.h>

#include <array>

namespace kavrin::test
{

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{

/// An answer that lists one shortcut with these keys.
FakePortal::Answer listing(const QString &id, const QString &keys, uint result = 0)
{
    qDBusRegisterMetaType<PortalShortcutEntry>();
    qDBusRegisterMetaType<QList<PortalShortcutEntry>>();
    const QList<PortalShortcutEntry> entries{{id, {{u"trigger_description"_s, keys}}}};
    return {result, {{u"shortcuts"_s, QVariant::fromValue(entries)}}};
}

/// The calls of one that has the keys and asks anew. GNOME gives keys that an open session has to no other
/// one.
const QStringList closedAndAsked = {u"Close"_s, u"Register"_s, u"CreateSession"_s, u"ListShortcuts"_s};

QDBusConnection anotherConnection()
{
    return QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), u"another"_s);
}

class PortalShortcutTest : public testing::Test
{
protected:
    /// A shortcut that has its keys, or a reason why it has none.
    std::unique_ptr<PortalShortcut>
    shortcut(std::chrono::milliseconds quickestUser = PortalShortcut::quickestUser)
    {
        auto made = std::make_unique<PortalShortcut>(QDBusConnection::sessionBus(), quickestUser);
        EXPECT_TRUE(waitUntil([&] { return !made->name().contains(u"not answered"); }));
        QObject::connect(made.get(), &Shortcut::pressed, made.get(), [this] { m_heard += u'p'; });
        QObject::connect(made.get(), &Shortcut::released, made.get(), [this] { m_heard += u'r'; });
        return made;
    }

    [[nodiscard]] qsizetype timesBound() const { return m_portal.calls().count(u"BindShortcuts"_s); }

    PrivateBus m_bus{"DBUS_SESSION_BUS_ADDRESS"};
    FakePortal m_portal{m_bus.connection()};
    QString m_heard; ///< "p" for each pressed(), "r" for each released()
};

} // namespace

TEST_F(PortalShortcutTest, AsksForTheKeysOnlyWhereTheDesktopDoesNotKnowThem)
{
    struct Case {
        const char *desktop;
        FakePortal::Answer list;
        FakePortal::Answer bind;
        qsizetype timesBound;
        QString name;
    };
    const FakePortal::Answer nothing{0, {}};
    const QString none =
        u"The desktop gives Kavrin no shortcut. It does not say why. Make one of its own run "
        "\"kavrinctl type toggle\"."_s;
    for (const Case &c : std::to_array<Case>({
             {"Plasma, first time", nothing, listing(u"dictate"_s, u"Ctrl+Alt+D"_s), 1, u"Ctrl+Alt+D"_s},
             {"Plasma, later", listing(u"dictate"_s, u"Ctrl+Alt+D"_s), nothing, 0, u"Ctrl+Alt+D"_s},
             {"GNOME", nothing, listing(u"dictate"_s, u"Press <Control><Alt>d"_s, 2), 1,
              u"Press <Control><Alt>d"_s},
             {"keys removed", listing(u"dictate"_s, u""_s), nothing, 0,
              u"Choose its keys in the desktop's settings."_s},
             {"without asking the user", nothing, {2, {}}, 1, none},
             {"another shortcut", listing(u"paint"_s, u"P"_s), nothing, 1, none},
         })) {
        SCOPED_TRACE(c.desktop);
        const qsizetype before = timesBound();
        m_portal.answers = {{u"ListShortcuts"_s, c.list}, {u"BindShortcuts"_s, c.bind}};
        EXPECT_EQ(shortcut()->name(), c.name);
        EXPECT_EQ(timesBound() - before, c.timesBound);
    }
}

TEST_F(PortalShortcutTest, ThatTheUserHasRefusedIsAskedNoMore)
{
    const QString refused = u"The desktop gives Kavrin no shortcut. You have refused it; \"kavrinctl type "
                            "shortcut\" makes it ask you again. Make one of its own run \"kavrinctl type "
                            "toggle\"."_s;
    for (const uint answer : {1U, 2U}) {
        m_portal.answers = {{u"BindShortcuts"_s, FakePortal::Answer{answer, {}}}};
        const qsizetype before = timesBound();
        EXPECT_EQ(shortcut(0ms)->name(), refused);
        EXPECT_EQ(shortcut(0ms)->name(), refused);
        EXPECT_EQ(timesBound() - before, 1);

        m_portal.answers = {{u"BindShortcuts"_s, listing(u"dictate"_s, u"D"_s, answer)}};
        EXPECT_EQ(await(shortcut(0ms)->askAgain()), u"D");
        EXPECT_EQ(timesBound() - before, 2);
    }
}

TEST_F(PortalShortcutTest, ThatTheUserHasRefusedTheyMayGiveInTheDesktopsSettings)
{
    m_portal.answers = {{u"BindShortcuts"_s, FakePortal::Answer{1, {}}}};
    shortcut(0ms);
    m_portal.answers = {{u"ListShortcuts"_s, listing(u"dictate"_s, u"D"_s)}};
    EXPECT_EQ(shortcut()->name(), u"D");
}

TEST_F(PortalShortcutTest, KnowsTheKeysThatTheUserHasChosenInTheDesktopsSettings)
{
    m_portal.answers = {{u"ListShortcuts"_s, listing(u"dictate"_s, u"D"_s)}};
    const auto made = shortcut();
    struct Case {
        const char *what;
        FakePortal::Answer listed;
        QString name;
    };
    for (const Case &c : std::to_array<Case>({
             {"others", listing(u"dictate"_s, u"F9"_s), u"F9"_s},
             {"of another shortcut", listing(u"paint"_s, u"P"_s), u"F9"_s},
             {"none", listing(u"dictate"_s, u""_s), u"Choose its keys in the desktop's settings."_s},
         })) {
        SCOPED_TRACE(c.what);
        m_heard.clear();
        m_portal.sendChange(c.listed.details[u"shortcuts"_s]);
        m_portal.sendShortcut(u"Activated"_s); // heard after the change
        m_portal.sendShortcut(u"Deactivated"_s);
        EXPECT_TRUE(waitUntil([&] { return m_heard == u"pr"; }));
        EXPECT_EQ(made->name(), c.name);
    }
}

TEST_F(PortalShortcutTest, TellsOfOnePressAndOneRelease)
{
    struct Case {
        const char *what;
        QStringList signalsOfPortal; ///< "+" pressed, "-" released, "x" pressed of another shortcut
        QString heard;
    };
    m_portal.answers = {{u"ListShortcuts"_s, listing(u"dictate"_s, u"D"_s)}};
    const auto made = shortcut();
    for (const Case &c : std::to_array<Case>({
             {"a tap", {u"+"_s, u"-"_s}, u"pr"_s},
             {"held, repeats", {u"+"_s, u"+"_s, u"+"_s, u"-"_s}, u"pr"_s},
             {"two taps", {u"+"_s, u"-"_s, u"+"_s, u"-"_s}, u"prpr"_s},
             {"a release alone", {u"-"_s, u"+"_s, u"-"_s}, u"pr"_s},
             {"another shortcut", {u"x"_s, u"+"_s, u"x"_s, u"-"_s}, u"pr"_s},
         })) {
        SCOPED_TRACE(c.what);
        m_heard.clear();
        for (const QString &signal : c.signalsOfPortal) {
            m_portal.sendShortcut(signal == u"-" ? u"Deactivated"_s : u"Activated"_s,
                                  signal == u"x" ? u"paint"_s : u"dictate"_s);
        }
        EXPECT_TRUE(waitUntil([&] { return m_heard.size() >= c.heard.size(); }));
        EXPECT_EQ(m_heard, c.heard);
    }
}

TEST_F(PortalShortcutTest, IsReleasedWhenTheDesktopTakesItAway)
{
    m_portal.answers = {{u"ListShortcuts"_s, listing(u"dictate"_s, u"D"_s)}};
    const auto made = shortcut();
    m_portal.sendShortcut(u"Activated"_s);
    m_portal.closeSession();
    EXPECT_TRUE(waitUntil([&] { return m_heard == u"pr"; }));
}

TEST_F(PortalShortcutTest, IsBoundAgainWhenThePortalComesBack)
{
    m_portal.answers = {{u"ListShortcuts"_s, listing(u"dictate"_s, u"D"_s)}};
    const auto made = shortcut();
    QDBusConnection bus = m_bus.connection();
    bus.unregisterService(u"org.freedesktop.portal.Desktop"_s);
    bus.registerService(u"org.freedesktop.portal.Desktop"_s);
    EXPECT_TRUE(waitUntil([&] { return m_portal.calls().count(u"ListShortcuts"_s) == 2; }));
    EXPECT_TRUE(waitUntil([&] { return made->name() == u"D"; }));
    m_portal.sendShortcut(u"Activated"_s);
    EXPECT_TRUE(waitUntil([&] { return m_heard == u"p"; }));
}

TEST_F(PortalShortcutTest, IsBoundAgainWhenTheDesktopsPartOfThePortalComesBack)
{
    const QString part = u"org.freedesktop.impl.portal.desktop.fake"_s;
    QDBusConnection bus = m_bus.connection();
    bus.registerService(part);
    m_portal.answers = {{u"ListShortcuts"_s, listing(u"dictate"_s, u"D"_s)}};
    const auto made = shortcut();
    const qsizetype before = m_portal.calls().size();
    bus.unregisterService(part);
    bus.registerService(part);
    EXPECT_TRUE(waitUntil([&] { return m_portal.calls().count(u"ListShortcuts"_s) == 2; }));
    EXPECT_EQ(m_portal.calls().mid(before), closedAndAsked);
    EXPECT_TRUE(waitUntil([&] { return made->name() == u"D"; }));
    m_portal.sendShortcut(u"Activated"_s);
    EXPECT_TRUE(waitUntil([&] { return m_heard == u"p"; }));
}

TEST_F(PortalShortcutTest, IsBoundAgainWhenAnotherPortalTakesThePlaceOfTheOneThatAsks)
{
    m_portal.answers = {{u"BindShortcuts"_s, std::nullopt}};
    const PortalShortcut made;
    ASSERT_TRUE(waitUntil([&] { return timesBound() == 1; }));
    FakePortal next(anotherConnection());
    next.answers = {{u"ListShortcuts"_s, listing(u"dictate"_s, u"D"_s)}};
    EXPECT_TRUE(waitUntil([&] { return made.name() == u"D"; }));
}

TEST_F(PortalShortcutTest, IsBoundAgainWhenAnotherPortalTakesThePlaceOfTheOneThatHasBoundIt)
{
    m_portal.answers = {{u"ListShortcuts"_s, listing(u"dictate"_s, u"D"_s)}};
    const auto made = shortcut();
    FakePortal next(anotherConnection());
    next.answers = {{u"ListShortcuts"_s, listing(u"dictate"_s, u"E"_s)}};
    EXPECT_TRUE(waitUntil([&] { return made->name() == u"E"; }));
    next.sendShortcut(u"Activated"_s);
    EXPECT_TRUE(waitUntil([&] { return m_heard == u"p"; }));
}

TEST_F(PortalShortcutTest, WhoAsksAgainWhileTheDesktopIsAskedHearsWhatItSays)
{
    m_portal.answers = {{u"ListShortcuts"_s, listing(u"dictate"_s, u"D"_s)}};
    PortalShortcut made;
    EXPECT_EQ(await(made.askAgain()), u"D");
    EXPECT_EQ(m_portal.calls().count(u"CreateSession"_s), 1);
}

TEST_F(PortalShortcutTest, GivesItsKeysBackBeforeItAsksForThemAgain)
{
    m_portal.answers = {{u"ListShortcuts"_s, listing(u"dictate"_s, u"D"_s)}};
    const auto made = shortcut();
    const qsizetype before = m_portal.calls().size();
    EXPECT_EQ(await(made->askAgain()), u"D");
    EXPECT_EQ(m_portal.calls().mid(before), closedAndAsked);
}

TEST_F(PortalShortcutTest, StaysWhenAPartOfThePortalBeginsOrOneForDialogsEnds)
{
    m_portal.answers = {{u"ListShortcuts"_s, listing(u"dictate"_s, u"D"_s)}};
    const auto made = shortcut();
    const QString dialogs = u"org.freedesktop.impl.portal.desktop.gtk"_s;
    QDBusConnection bus = m_bus.connection();
    bus.registerService(dialogs);
    bus.unregisterService(dialogs);
    m_portal.sendShortcut(u"Activated"_s);
    EXPECT_TRUE(waitUntil([&] { return m_heard == u"p"; }));
    EXPECT_EQ(m_portal.calls().count(u"CreateSession"_s), 1);
}

TEST_F(PortalShortcutTest, SaysSoWhenTheDesktopTakesItAway)
{
    m_portal.answers = {{u"ListShortcuts"_s, listing(u"dictate"_s, u"D"_s)}};
    const auto made = shortcut();
    m_portal.closeSession();
    EXPECT_TRUE(waitUntil([&] { return made->name().contains(u"Its portal has taken it back."); }));
}

TEST_F(PortalShortcutTest, SaysWhatToDoWhereThereIsNoPortal)
{
    m_bus.connection().unregisterService(u"org.freedesktop.portal.Desktop"_s);
    EXPECT_THAT(shortcut()->name().toStdString(), testing::HasSubstr("kavrinctl type toggle"));
}

} // namespace kavrin::test
