// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/PortalFileChooser.h"
#include "platform/Error.h"
#include "platform/linux/typing/FakePortal.h"
#include "support/PrivateBus.h"
#include "support/Wait.h"

#include <gtest/gtest.h>

namespace kavrin::test
{

using namespace Qt::StringLiterals;

namespace
{

class PortalFileChooserTest : public testing::Test
{
protected:
    PrivateBus m_bus{"DBUS_SESSION_BUS_ADDRESS"};
    PortalFileChooser m_chooser{m_bus.connection()};

    /// The path, or the failure's text.
    QString opened()
    {
        try {
            return await(m_chooser.fileToOpen(u"Open"_s));
        } catch (const Error &error) {
            return error.localizedDescription;
        }
    }
};

} // namespace

TEST_F(PortalFileChooserTest, HandsOverWhatTheUserChooses)
{
    FakePortal portal(m_bus.connection());
    const QVariantMap chosen = {{u"uris"_s, QStringList(u"file:///tmp/a%20b%C5%9F.txt"_s)}};
    const std::pair<FakePortal::Answer, QString> cases[] = {
        {{0, chosen}, u"/tmp/a bş.txt"_s}, {{1, {}}, u""_s}, {{2, {}}, u""_s}, {{1, chosen}, u""_s}};
    for (const auto &[answer, path] : cases) {
        portal.answers = {{u"OpenFile"_s, answer}, {u"SaveFile"_s, answer}};
        EXPECT_EQ(opened(), path);
        EXPECT_EQ(await(m_chooser.fileToSave(u"Save"_s, u"dictionary.txt"_s)), path);
    }
    EXPECT_EQ(portal.options(u"SaveFile"_s).value(u"current_name"_s), u"dictionary.txt"_s);
}

TEST_F(PortalFileChooserTest, SaysWhichPackageIsMissingWhereTheDesktopHasNoDialog)
{
    EXPECT_EQ(opened(),
              u"The desktop has no portal for that. Install xdg-desktop-portal and the part of it for "
              "your desktop, such as xdg-desktop-portal-gtk.");
}

} // namespace kavrin::test
