// SPDX-License-Identifier: MIT
#include "platform/linux/typing/findTyping.h"
#include "../desktop/PrivateDisplay.h"

#include <gtest/gtest.h>

namespace kavrin::test
{

using namespace Qt::StringLiterals;

namespace
{

/// The name of the way that is found, or why there is none.
QString found()
{
    PortalKeyboard keyboard;
    const Result<std::unique_ptr<Typing>> typing = findTyping(keyboard);
    return typing.failure ? typing.failure->localizedDescription : typing.value->name();
}

} // namespace

TEST(FindTyping, FindsTheVirtualKeyboardOfAWaylandCompositor)
{
    const PrivateWaylandDisplay display;
    EXPECT_EQ(found(), u"Wayland virtual keyboard");
}

TEST(FindTyping, FindsAnX11Server)
{
    const PrivateX11Display display;
    EXPECT_EQ(found(), u"X11");
}

TEST(FindTyping, DoesNotTakeXwaylandForTheDesktop)
{
    const PrivateX11Display xwayland;
    qputenv("WAYLAND_DISPLAY", "/nowhere");
    EXPECT_EQ(found(), u"The Wayland compositor does not answer. Log out and in again.");
}

TEST(FindTyping, SaysWhichPackageIsMissingUnderWayland)
{
    const PrivateWaylandDisplay display;
    qputenv("PATH", "/nowhere");
    EXPECT_EQ(found(), u"The program wl-copy is missing. Install the package wl-clipboard.");
}

TEST(FindTyping, SaysWhichPackageIsMissingUnderX11)
{
    const PrivateX11Display display;
    qputenv("PATH", "/nowhere");
    EXPECT_EQ(found(), u"The program xclip is missing. Install the package xclip.");
}

TEST(FindTyping, SaysSoWhereThereIsNoDisplay)
{
    EXPECT_EQ(found(), u"There is no display to type at. Start this from a desktop session.");
    qputenv("DISPLAY", ":nowhere");
    EXPECT_EQ(found(), u"The X11 server cannot be reached. Log out and in again.");
}

} // namespace kavrin::test
