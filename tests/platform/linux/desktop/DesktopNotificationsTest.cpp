// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/DesktopNotifications.h"

#include "FakeNotificationServer.h"
#include "support/PrivateBus.h"
#include "support/Wait.h"

#include <gtest/gtest.h>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

class DesktopNotificationsTest : public testing::Test
{
protected:
    void show(const QString &text, const QString &button = {})
    {
        notifications.show(u"Title"_s, text, u"Open"_s, button);
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
    void send(const QString &text, const QString &button)
    {
        show(text, button);
        ASSERT_TRUE(waitUntil([this] { return server.isAsked(); }));
        server.answer(); // what it can do
        ASSERT_TRUE(waitUntil([&] { return server.asked.contains(text); }));
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

TEST_F(DesktopNotificationsTest, OneWithAButtonThatIsShownIsTakenBackOnce)
{
    show(u"slow"_s, u"Cancel"_s);
    settle();
    notifications.withdrawButton();
    notifications.withdrawButton();
    EXPECT_EQ(closed(), Closed{1});
}

TEST_F(DesktopNotificationsTest, OneWithoutAButtonStays)
{
    show(u"failed"_s);
    settle();
    notifications.withdrawButton();
    EXPECT_EQ(closed(), Closed());
}

TEST_F(DesktopNotificationsTest, OneThatIsBeingSentIsTakenBackWhenItIsShown)
{
    send(u"slow"_s, u"Cancel"_s);
    notifications.withdrawButton();
    settle();
    EXPECT_EQ(closed(), Closed{1});
}

TEST_F(DesktopNotificationsTest, OneThatIsNotSentYetIsNeverShown)
{
    show(u"slow"_s, u"Cancel"_s);
    notifications.withdrawButton();
    settle();
    EXPECT_EQ(closed(), Closed());
    EXPECT_EQ(server.asked, QStringList(u"later"_s));
}

TEST_F(DesktopNotificationsTest, OneThatWasToBeReplacedByOneThatIsTakenBackGoesToo)
{
    show(u"slow"_s, u"Cancel"_s);
    settle();
    show(u"slow again"_s, u"Cancel"_s);
    notifications.withdrawButton();
    settle();
    EXPECT_EQ(closed(), Closed{1});
}

TEST_F(DesktopNotificationsTest, OneThatIsReplacedWhileItIsSentNeedsNoTakingBack)
{
    send(u"slow"_s, u"Cancel"_s);
    notifications.withdrawButton();
    show(u"failed"_s);
    settle();
    EXPECT_EQ(server.closed, Closed());
    EXPECT_EQ(server.asked, QStringList({u"slow"_s, u"failed"_s}));
}

} // namespace kavrin::test
