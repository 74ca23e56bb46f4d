// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/DesktopNotifications.h"

#include "FakeNotificationServer.h"
#include "platform/linux/desktop/LastingNotification.h"
#include "support/PrivateBus.h"
#include "support/Wait.h"

#include <gtest/gtest.h>

#include <tuple>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

class DesktopNotificationsTest : public testing::Test
{
protected:
    Notifications::Number show(const QString &text)
    {
        return notifications.show({.title = u"Title"_s, .text = text, .action = u"Open"_s, .buttons = {}});
    }

    /// Lets the server answer all that it is asked until the desktop has received everything.
    void settle()
    {
        while (notifications.isPending()) {
            ASSERT_TRUE(waitUntil([this] { return server.isAsked() || !notifications.isPending(); }));
            if (server.isAsked()) {
                server.answer();
            }
        }
    }

    /// Lets the server be asked to show `text`, and not answer yet.
    Notifications::Number send(const QString &text)
    {
        const Notifications::Number shown = show(text);
        EXPECT_TRUE(waitUntil([this] { return server.isAsked(); }));
        server.answer(); // what it can do
        EXPECT_TRUE(waitUntil([&] { return server.asked.contains(text); }));
        return shown;
    }

    /// Which ones are closed by then: a later one comes after that.
    std::vector<uint> closed()
    {
        show(u"later"_s);
        settle();
        return server.closed;
    }

    PrivateBus bus = PrivateBus("DBUS_SESSION_BUS_ADDRESS");
    FakeNotificationServer server{bus.connection()};
    DesktopNotifications notifications;
};

using Closed = std::vector<uint>;

} // namespace

TEST_F(DesktopNotificationsTest, HaveATitleATextAClickAndButtons)
{
    notifications.show({.title = u"Listening"_s,
                        .text = u"Speak."_s,
                        .action = u"Open"_s,
                        .buttons = {{u"stop"_s, u"Stop"_s}, {u"cancel"_s, u"Give up"_s}}});
    settle();
    EXPECT_EQ(server.last.title, u"Listening");
    EXPECT_EQ(server.last.text, u"Speak.");
    EXPECT_EQ(server.last.actions,
              (QStringList{u"default"_s, u"Open"_s, u"stop"_s, u"Stop"_s, u"cancel"_s, u"Give up"_s}));
}

TEST_F(DesktopNotificationsTest, StayAsLongAsFits)
{
    using Stay = Notifications::Stay;
    const std::tuple<Stay, QStringList, int> rows[] = {
        {Stay::AsUsual, {}, -1},
        {Stay::Briefly, {u"transient"_s}, -1},
        {Stay::UntilSeen, {}, 0},
        {Stay::UntilWithdrawn, {u"resident"_s, u"suppress-sound"_s}, 0},
    };
    for (const auto &[stay, hints, expiry] : rows) {
        SCOPED_TRACE(int(stay));
        notifications.show({.title = {}, .text = {}, .action = {}, .buttons = {}, .stay = stay});
        settle();
        EXPECT_EQ(server.last.expiry, expiry);
        for (const QString &hint : {u"transient"_s, u"resident"_s, u"suppress-sound"_s}) {
            EXPECT_EQ(server.last.hints.value(hint).toBool(), hints.contains(hint)) << hint.toStdString();
        }
    }
}

TEST_F(DesktopNotificationsTest, TakeThePlaceOfTheOneBefore)
{
    for (const uint replaced : {0U, 1U, 1U}) {
        show(u"text"_s);
        settle();
        EXPECT_EQ(server.last.replaced, replaced);
    }
}

TEST_F(DesktopNotificationsTest, TellWhatTheUserHasChosenWithTheTokenThatCameBefore)
{
    QStringList told;
    QObject::connect(&notifications, &Notifications::activated,
                     [&](const QString &token) { told.append(u"click "_s + token); });
    QObject::connect(
        &notifications, &Notifications::pressed,
        [&](const QString &button, const QString &token) { told.append(button + u' ' + token); });
    show(u"text"_s);
    settle();
    Q_EMIT server.ActivationToken(1, u"one"_s);
    Q_EMIT server.ActionInvoked(2, u"another's"_s);
    Q_EMIT server.ActionInvoked(1, u"stop"_s);
    Q_EMIT server.ActionInvoked(1, u"default"_s);
    EXPECT_TRUE(waitUntil([&] { return told.size() == 2; }));
    EXPECT_EQ(told, (QStringList{u"stop one"_s, u"click "_s}));
}

TEST_F(DesktopNotificationsTest, OneThatIsShownIsTakenBackOnce)
{
    const Notifications::Number shown = show(u"slow"_s);
    settle();
    notifications.withdraw(shown);
    notifications.withdraw(shown);
    settle();
    EXPECT_EQ(closed(), Closed{1});
    EXPECT_EQ(server.last.replaced, 0U);
}

TEST_F(DesktopNotificationsTest, OneThatAnotherHasReplacedIsNotTakenBack)
{
    const Notifications::Number shown = show(u"slow"_s);
    show(u"failed"_s);
    settle();
    notifications.withdraw(shown);
    EXPECT_EQ(closed(), Closed());
}

TEST_F(DesktopNotificationsTest, OneThatIsBeingSentIsTakenBackWhenItIsShown)
{
    const Notifications::Number shown = send(u"slow"_s);
    notifications.withdraw(shown);
    settle();
    EXPECT_EQ(closed(), Closed{1});
}

TEST_F(DesktopNotificationsTest, OneThatIsNotSentYetIsNeverShown)
{
    notifications.withdraw(show(u"slow"_s));
    settle();
    EXPECT_EQ(closed(), Closed());
    EXPECT_EQ(server.asked, QStringList(u"later"_s));
}

TEST_F(DesktopNotificationsTest, OneThatWasToBeReplacedByOneThatIsTakenBackGoesToo)
{
    show(u"slow"_s);
    settle();
    notifications.withdraw(show(u"slow again"_s));
    settle();
    EXPECT_EQ(closed(), Closed{1});
}

TEST_F(DesktopNotificationsTest, OneThatIsReplacedWhileItIsSentNeedsNoTakingBack)
{
    const Notifications::Number shown = send(u"slow"_s);
    notifications.withdraw(shown);
    show(u"failed"_s);
    settle();
    EXPECT_EQ(server.closed, Closed());
    EXPECT_EQ(server.asked, QStringList({u"slow"_s, u"failed"_s}));
}

TEST_F(DesktopNotificationsTest, OneThatAKilledProcessHasLeftUntilWithdrawnIsTakenBack)
{
    using Stay = Notifications::Stay;
    for (const auto &[stay, isTakenBack] :
         {std::pair(Stay::AsUsual, false), std::pair(Stay::UntilSeen, false),
          std::pair(Stay::UntilWithdrawn, true)}) {
        SCOPED_TRACE(int(stay));
        notifications.show({.title = {}, .text = {}, .action = {}, .buttons = {}, .stay = stay});
        settle();
        server.answersAtOnce = true;
        const DesktopNotifications next;
        EXPECT_EQ(next.isPending(), isTakenBack);
        EXPECT_TRUE(waitUntil([&] { return !next.isPending(); }));
        EXPECT_EQ(server.closed, isTakenBack ? Closed{1} : Closed{});
    }
}

TEST_F(DesktopNotificationsTest, OneThatIsTakenBackIsNotTakenBackByTheNextProcess)
{
    const Notifications::Number shown = notifications.show(
        {.title = {}, .text = {}, .action = {}, .buttons = {}, .stay = Notifications::Stay::UntilWithdrawn});
    settle();
    ASSERT_TRUE(lastingNotification());
    notifications.withdraw(shown);
    settle();
    EXPECT_FALSE(DesktopNotifications().isPending());
}

TEST_F(DesktopNotificationsTest, OneOfAnotherServerIsLeftAlone)
{
    keepLastingNotification(LastingNotification{.server = u":1.4711"_s, .number = 7});
    server.answersAtOnce = true;
    const DesktopNotifications next;
    EXPECT_TRUE(waitUntil([&] { return !next.isPending(); }));
    EXPECT_EQ(server.closed, Closed());
    EXPECT_FALSE(lastingNotification());
}

} // namespace kavrin::test
