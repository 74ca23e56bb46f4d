// SPDX-License-Identifier: MIT
#include "platform/linux/SelectionCommand.h"

#include <QFile>
#include <QStandardPaths>

#include <sys/mman.h>
#include <unistd.h>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

bool isGnome()
{
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':').contains(u"GNOME"_s);
}

bool hasProgram(const QString &name)
{
    return !QStandardPaths::findExecutable(name).isEmpty();
}

bool isX11()
{
    return qEnvironmentVariableIsSet("DISPLAY") && !qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

/// Xwayland starts when it is first asked.
bool hasXwayland()
{
    return qEnvironmentVariableIsSet("DISPLAY") && hasProgram(u"Xwayland"_s);
}

} // namespace

SelectionCommand selectionCommand(Selection selection)
{
    const bool isPrimary = selection == Selection::Primary;
    const bool isXwaylandBetter = isGnome() && hasXwayland() && hasProgram(u"xclip"_s);
    if (isX11() || isXwaylandBetter) {
        return {u"xclip"_s, {u"-selection"_s, isPrimary ? u"primary"_s : u"clipboard"_s}, u"xclip"_s};
    }
    const QStringList type = {u"--type"_s, u"text/plain;charset=utf-8"_s};
    return {u"wl-copy"_s, isPrimary ? QStringList{u"--primary"_s} + type : type, u"wl-clipboard"_s};
}

void startSelecting(QProcess &process, Selection selection, const QString &text)
{
    // Other users can read a program's arguments, so the text is its input.
    QFile input;
    const bool isOpen = input.open(::memfd_create("text", MFD_CLOEXEC), QFile::WriteOnly | QFile::Unbuffered,
                                   QFile::AutoCloseHandle);
    const bool isWhole = isOpen && input.write(text.toUtf8()) >= 0;
    // A program whose input is missing does not start.
    process.setStandardInputFile(isWhole ? u"/proc/self/fd/%1"_s.arg(input.handle()) : u"/dev/null/none"_s);
    // The process that is left to serve the text must not keep this end of a pipe open.
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    // Whoever ends this program by Ctrl+C does not mean that process.
    process.setChildProcessModifier([] { ::setsid(); });
    const SelectionCommand command = selectionCommand(selection);
    process.start(command.program, command.arguments);
}

bool isSelectionLate()
{
    return isGnome();
}

} // namespace kavrin
