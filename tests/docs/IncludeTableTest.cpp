// SPDX-License-Identifier: MIT
#include "IncludeTable.h"
#include "support/Paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gmock/gmock.h>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

const QString sources = sourcePath("");

const QString exampleTable = uR"(
Text, and a table of something else:

| Folder | What it holds |
|---|---|
| `store` | settings |

| Folder | May include |
|---|---|
| `platform` | nothing |
| `platform/linux` | `platform`, the system |
| `store` | `platform` |
| `App` | all |

| `store` | `App` |
)"_s;

QString read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

void write(const QString &path, const QByteArray &contents)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(contents);
}

IncludeTable realTable()
{
    return IncludeTable::parse(read(sources + u"/docs/architecture.md"_s));
}

} // namespace

TEST(IncludeTable, IsKeptByTheSources)
{
    const QString violations = realTable().violationsBelow(sources).join(u'\n');
    EXPECT_TRUE(violations.isEmpty()) << violations.toStdString();
}

TEST(IncludeTable, NamesFoldersThatExist)
{
    const QStringList folders = realTable().folders();
    EXPECT_FALSE(folders.isEmpty());
    for (const QString &folder : folders) {
        const bool exists = QFileInfo(sources + u"/KavriniOS/"_s + folder).isDir()
            || QFileInfo(sources + u'/' + folder).isDir();
        EXPECT_TRUE(exists) << folder.toStdString();
    }
}

TEST(IncludeTable, IsReadFromTheOneTableWithItsHeading)
{
    EXPECT_EQ(IncludeTable::parse(exampleTable).folders(),
              QStringList({u"App"_s, u"platform"_s, u"platform/linux"_s, u"store"_s}));
    EXPECT_TRUE(IncludeTable::parse(u"No table at all."_s).folders().isEmpty());
}

TEST(IncludeTable, KnowsTheInnermostFolderOfAFile)
{
    const std::map<QString, QString> expected = {
        {u"store/Prefs.h"_s, u"store"_s},
        {u"store/pages/Page.h"_s, u"store"_s},
        {u"platform/Clock.h"_s, u"platform"_s},
        {u"platform/linux/audio/SoundLevel.h"_s, u"platform/linux"_s},
        {u"platform/linuxes/Clock.h"_s, u"platform"_s},
        {u"storehouse/Prefs.h"_s, QString()},
        {u"Prefs.h"_s, QString()},
    };
    const IncludeTable table = IncludeTable::parse(exampleTable);
    for (const auto &[path, folder] : expected) {
        EXPECT_EQ(table.folderOf(path), folder) << path.toStdString();
    }
}

struct Line {
    std::string name;
    QString path;
    QString line;
    QString violation; ///< empty where the line keeps to the table
};

class IncludeTableTest : public testing::TestWithParam<Line>
{
};

TEST_P(IncludeTableTest, JudgesALine)
{
    const QStringList found =
        IncludeTable::parse(exampleTable).violations(GetParam().path, u"// first line\n"_s + GetParam().line);
    EXPECT_EQ(found.join(u'\n'), GetParam().violation) << found.join(u'\n').toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Lines, IncludeTableTest,
    testing::Values(
        Line{"Allowed", u"store/A.h"_s, u"#include \"platform/Clock.h\""_s, {}},
        Line{"OwnFolder", u"store/A.h"_s, u"#include \"store/Prefs.h\""_s, {}},
        Line{"OwnFolderByName", u"store/A.cpp"_s, u"#include \"moc_A.cpp\""_s, {}},
        Line{"All", u"App/A.h"_s, u"#include \"platform/linux/audio/SoundLevel.h\""_s, {}},
        Line{"Implementation", u"platform/linux/audio/A.h"_s, u"#include \"platform/Clock.h\""_s, {}},
        Line{"HeaderOfCpp", u"store/A.h"_s, u"#include <vector>"_s, {}},
        Line{"HeaderOfALibrary", u"store/A.h"_s, u"#include <unicode/ubrk.h>"_s, {}},
        Line{"HeaderOfTheToolkit", u"store/A.h"_s, u"#include <QString>"_s, {}},
        Line{"SystemAllowed", u"platform/linux/A.h"_s, u"#include <unistd.h>"_s, {}},
        Line{"SystemForAll", u"App/A.h"_s, u"#include <sys/socket.h>"_s, {}},
        Line{"SystemNotAllowed", u"store/A.h"_s, u"#include <unistd.h>"_s,
             u"store/A.h:2: store may not include <unistd.h>"_s},
        Line{"FolderOfTheSystemNotAllowed", u"platform/A.h"_s, u"#include <sys/socket.h>"_s,
             u"platform/A.h:2: platform may not include <sys/socket.h>"_s},
        Line{"Comment", u"store/A.h"_s, u"// #include \"App/A.h\""_s, {}},
        Line{"NotAllowed", u"platform/A.h"_s, u"#include \"store/Prefs.h\""_s,
             u"platform/A.h:2: platform may not include store"_s},
        Line{"ImplementationOfTheAllowed", u"store/A.h"_s, u"#include \"platform/linux/storage/A.h\""_s,
             u"store/A.h:2: store may not include platform/linux"_s},
        Line{"InterfaceOnImplementation", u"platform/A.h"_s, u"#include \"platform/linux/storage/A.h\""_s,
             u"platform/A.h:2: platform may not include platform/linux"_s},
        Line{"Subfolder", u"store/pages/A.h"_s, u"#include \"App/A.h\""_s,
             u"store/pages/A.h:2: store may not include App"_s},
        Line{"Spaced", u"store/A.h"_s, u"  #  include  \"App/A.h\" // why"_s,
             u"store/A.h:2: store may not include App"_s},
        Line{"UnknownFolder", u"store/A.h"_s, u"#include \"tests/A.h\""_s,
             u"store/A.h:2: tests/A.h is in no folder of the table"_s},
        Line{"ImportAllowed", u"App/A.qml"_s, u"import Kavrin.Store"_s, {}},
        Line{"ImportOfOwnModule", u"store/A.qml"_s, u"import Kavrin.Store"_s, {}},
        Line{"ImportOfAFolderWithin", u"App/A.qml"_s, u"import Kavrin.Platform.Linux"_s, {}},
        Line{"ImportOfAFolderWithinNotAllowed", u"store/A.qml"_s, u"import Kavrin.Platform.Linux"_s,
             u"store/A.qml:2: store may not include platform/linux"_s},
        Line{"ImportNotAllowed", u"store/A.qml"_s, u"import Kavrin.App"_s,
             u"store/A.qml:2: store may not include App"_s},
        Line{"ImportOfTheToolkit", u"store/A.qml"_s, u"import QtQuick.Templates as T"_s, {}},
        Line{"Upwards", u"store/A.h"_s, u"#include \"../App/A.h\""_s,
             u"store/A.h:2: ../App/A.h is in no folder of the table"_s},
        Line{"FileOfUnknownFolder", u"other/A.h"_s, u"#include \"platform/Clock.h\""_s,
             u"other/A.h:1: its folder is not in the table"_s}),
    [](const auto &line) { return line.param.name; });

TEST(IncludeTable, IsAppliedToEverySourceFileOfATree)
{
    const QString root = QDir::home().filePath(u"tree"_s);
    write(root + u"/KavriniOS/store/Good.cpp"_s, "#include \"platform/Clock.h\"\n");
    write(root + u"/KavriniOS/store/Bad.cpp"_s, "\n#include \"App/App.h\"\n#include \"App/Other.h\"\n");
    write(root + u"/KavriniOS/platform/linux/audio/Bad.h"_s, "#include \"store/Prefs.h\"\n");
    write(root + u"/tools/tool/main.cpp"_s, "#include \"store/Prefs.h\"\n");
    write(root + u"/tests/Test.cpp"_s, "#include \"App/App.h\"\n");
    EXPECT_EQ(IncludeTable::parse(exampleTable).violationsBelow(root),
              QStringList({u"KavriniOS/platform/linux/audio/Bad.h:1: platform/linux may not include store"_s,
                           u"KavriniOS/store/Bad.cpp:2: store may not include App"_s,
                           u"KavriniOS/store/Bad.cpp:3: store may not include App"_s,
                           u"tools/tool/main.cpp:1: its folder is not in the table"_s}));
}

} // namespace kavrin::test
