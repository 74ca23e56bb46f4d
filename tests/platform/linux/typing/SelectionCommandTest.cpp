// SPDX-License-Identifier: MIT
#include "platform/linux/SelectionCommand.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace kavrin::test
{

using namespace Qt::StringLiterals;

namespace
{

/// The only programs that are found from here on.
void install(const QStringList &programs)
{
    QDir folder(QDir::home().filePath(u"bin"_s));
    folder.removeRecursively();
    QDir::home().mkdir(u"bin"_s);
    for (const QString &program : programs) {
        QFile file(folder.filePath(program));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_TRUE(file.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
    }
    qputenv("PATH", QFile::encodeName(folder.path()));
}

QString line(Selection selection)
{
    const SelectionCommand command = selectionCommand(selection);
    return (QStringList{command.program} + command.arguments).join(u' ');
}

} // namespace

TEST(SelectionCommand, AsksXwaylandWhereWlCopyWouldTakeTheFocus)
{
    struct Case {
        const char *desktop;
        const char *display;
        QStringList programs;
        bool isXclip;
    };
    const QStringList all = {u"wl-copy"_s, u"xclip"_s, u"Xwayland"_s};
    for (const Case &c :
         {Case{"GNOME", ":0", all, true}, Case{"ubuntu:GNOME", ":0", all, true},
          Case{"KDE", ":0", all, false}, Case{"sway", ":0", all, false}, Case{"", ":0", all, false},
          Case{"GNOME", nullptr, all, false}, Case{"GNOME", ":0", {u"wl-copy"_s, u"xclip"_s}, false},
          Case{"GNOME", ":0", {u"wl-copy"_s, u"Xwayland"_s}, false}}) {
        SCOPED_TRACE(c.desktop + (u": "_s + c.programs.join(u' ')).toStdString());
        qputenv("XDG_CURRENT_DESKTOP", c.desktop);
        qputenv("WAYLAND_DISPLAY", "wayland-0");
        c.display != nullptr ? qputenv("DISPLAY", c.display) : qunsetenv("DISPLAY");
        install(c.programs);
        EXPECT_EQ(line(Selection::Clipboard),
                  c.isXclip ? u"xclip -selection clipboard"_s : u"wl-copy --type text/plain;charset=utf-8"_s);
        EXPECT_EQ(line(Selection::Primary),
                  c.isXclip ? u"xclip -selection primary"_s
                            : u"wl-copy --primary --type text/plain;charset=utf-8"_s);
    }
}

TEST(SelectionCommand, IsXclipUnderX11EvenIfThatIsMissing)
{
    qunsetenv("WAYLAND_DISPLAY");
    qputenv("DISPLAY", ":0");
    install({u"wl-copy"_s});
    EXPECT_EQ(line(Selection::Clipboard), u"xclip -selection clipboard");
    EXPECT_EQ(selectionCommand(Selection::Clipboard).package, u"xclip");
}

TEST(SelectionCommand, IsLateOnGnomeAlone)
{
    for (const auto &[desktop, isLate] : {std::pair("GNOME", true), std::pair("ubuntu:GNOME", true),
                                          std::pair("KDE", false), std::pair("", false)}) {
        SCOPED_TRACE(desktop);
        qputenv("XDG_CURRENT_DESKTOP", desktop);
        EXPECT_EQ(isSelectionLate(), isLate);
    }
}

} // namespace kavrin::test
