// SPDX-License-Identifier: MIT
#include "platform/linux/storage/BaseDirectories.h"

#include <gtest/gtest.h>

#include <QByteArray>

#include <pwd.h>
#include <unistd.h>

namespace kavrin
{

TEST(BaseDirectories, ARelativeFolderIsIgnored)
{
    qputenv("XDG_DATA_HOME", "relative");
    qputenv("XDG_STATE_HOME", "/absolute");
    ignoreRelativeBaseDirectories();
    EXPECT_FALSE(qEnvironmentVariableIsSet("XDG_DATA_HOME"));
    EXPECT_EQ(qgetenv("XDG_STATE_HOME"), "/absolute");
}

TEST(BaseDirectories, ARelativeHomeIsReplacedByTheUsersOwn)
{
    for (const char *home : {"relative", ""}) {
        qputenv("HOME", home);
        ignoreRelativeBaseDirectories();
        EXPECT_EQ(qgetenv("HOME"), getpwuid(getuid())->pw_dir);
    }
}

TEST(BaseDirectories, AnAbsoluteHomeStays)
{
    qputenv("HOME", "/somewhere");
    ignoreRelativeBaseDirectories();
    EXPECT_EQ(qgetenv("HOME"), "/somewhere");
}

} // namespace kavrin
