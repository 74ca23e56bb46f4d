// SPDX-License-Identifier: MIT
#include "App/WindowState.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

class WindowStateTest : public testing::Test
{
protected:
    QString path = QDir::home().filePath(u"state/kavrin/window.ini"_s);

    void write(const QByteArray &contents) const
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(contents);
    }

    void SetUp() override { QDir(QDir::home().filePath(u"state"_s)).removeRecursively(); }
};

TEST_F(WindowStateTest, ComesBackAsItWasKept)
{
    for (const WindowState &state :
         {WindowState(),
          WindowState{.size = {1000, 700}, .isMaximized = true, .page = u"layout"_s, .isPreviewFolded = true},
          WindowState{.size = {320, 240},
                      .isMaximized = false,
                      .page = u"a;b=c\n[d] ü"_s,
                      .isPreviewFolded = false}}) {
        state.save(path);
        EXPECT_EQ(WindowState::load(path), state);
    }
}

TEST_F(WindowStateTest, IsNewWithoutAFile)
{
    EXPECT_EQ(WindowState::load(path), WindowState());
}

TEST_F(WindowStateTest, TakesFromADamagedFileOnlyWhatMakesSense)
{
    const std::pair<QByteArray, WindowState> rows[] = {
        {"", {}},
        {"\0\xff\xfe garbage ]][[", {}},
        {"[General]\nwidth=wide\nheight=-1\nmaximized=perhaps\n",
         {.size = {0, 0}, .isMaximized = true, .page = {}}},
        {"[General]\nwidth=99999999999999999999\nheight=600\n", {.size = {0, 600}, .page = {}}},
        {"[General]\nwidth=@Size(1 2)\nheight=600.5\npage=layout\n", {.size = {0, 0}, .page = u"layout"_s}},
        {"[General]\nwidth=1000\nheight=70", {.size = {1000, 70}, .page = {}}},
    };
    for (const auto &[contents, state] : rows) {
        write(contents);
        EXPECT_EQ(WindowState::load(path), state) << contents.toStdString();
    }
}

TEST_F(WindowStateTest, IsNewWhereAPipeIsInPlaceOfTheFile)
{
    QDir().mkpath(QFileInfo(path).path());
    ASSERT_EQ(mkfifo(qUtf8Printable(path), 0600), 0);
    EXPECT_EQ(WindowState::load(path), WindowState());
    WindowState{.size = {1000, 700}, .page = u"layout"_s}.save(path);
    EXPECT_EQ(WindowState::load(path), WindowState());
}

TEST_F(WindowStateTest, MakesDamageGoodWhenItIsKept)
{
    write("\0\xff\xfe garbage ]][[");
    const WindowState state = {.size = {1000, 700}, .page = u"layout"_s};
    state.save(path);
    EXPECT_EQ(WindowState::load(path), state);
}

} // namespace

} // namespace kavrin::test
