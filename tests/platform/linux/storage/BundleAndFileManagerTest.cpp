// SPDX-License-Identifier: MIT
#include "platform/Bundle.h"
#include "platform/FileManager.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

using namespace kavrin;
using namespace Qt::StringLiterals;

TEST(Bundle, FindsAResourceByNameAndType)
{
    EXPECT_TRUE(Bundle::resourcePath(u"Info"_s, u"plist"_s).has_value());
    EXPECT_EQ(Bundle::resourcePath(u"Nothing"_s, u"plist"_s), std::nullopt);
}

TEST(Bundle, ReadsValuesOfTheInfoDictionary)
{
    EXPECT_EQ(Bundle::infoValue(u"CFBundleIdentifier"_s), PropertyListValue(u"app.kavrin.Kavrin"_s));
    EXPECT_EQ(Bundle::infoValue(u"Nothing"_s), std::nullopt);
}

TEST(FileManager, TheContainerInAFlatpakIsWhereKeyboardsOutsideOfItLook)
{
    qputenv("FLATPAK_ID", "app.kavrin.Kavrin");
    EXPECT_EQ(FileManager::containerPath(u"group.app.kavrin.shared"_s),
              QDir::homePath() + u"/.local/share/app-groups/group.app.kavrin.shared"_s);
    qputenv("HOST_XDG_DATA_HOME", "/srv/data");
    EXPECT_EQ(FileManager::containerPath(u"group.app.kavrin.shared"_s),
              u"/srv/data/app-groups/group.app.kavrin.shared"_s);
}

TEST(FileManager, OnlyAGroupOfTheEntitlementsHasAContainer)
{
    EXPECT_EQ(FileManager::containerPath(u"group.app.kavrin.shared"_s),
              qEnvironmentVariable("XDG_DATA_HOME") + u"/app-groups/group.app.kavrin.shared"_s);
    for (const QString &group : {u"group.app.kavrin.shared.extra"_s, u"group.other"_s, u""_s, u"../x"_s}) {
        EXPECT_EQ(FileManager::containerPath(group), std::nullopt);
    }
}

TEST(FileManager, LookingForAContainerMakesNoFolder)
{
    EXPECT_FALSE(QFileInfo::exists(*FileManager::containerPath(u"group.app.kavrin.shared"_s)));
}

TEST(FileManager, TheFolderOfTheSessionIsTheTemporaryOneIfTheSessionHasOne)
{
    EXPECT_EQ(FileManager::sessionDirectory(), FileManager::temporaryDirectory());
    qputenv("TMPDIR", qgetenv("HOME"));
    for (const char *folder : {"", "/dev/null"}) {
        qputenv("XDG_RUNTIME_DIR", folder);
        EXPECT_EQ(FileManager::sessionDirectory(), std::nullopt) << folder;
    }
}

TEST(FileManager, TheTemporaryDirectoryIsTheUsersAlone)
{
    const QFileInfo folder(FileManager::temporaryDirectory());
    EXPECT_EQ(folder.filePath(), qEnvironmentVariable("XDG_RUNTIME_DIR") + u"/kavrin"_s);
    EXPECT_TRUE(folder.isDir());
    constexpr auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther
        | QFile::WriteOther | QFile::ExeOther;
    EXPECT_EQ(folder.permissions() & others, 0);
}
