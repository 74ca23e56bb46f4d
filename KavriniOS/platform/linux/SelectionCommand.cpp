// SPDX-License-Identifier: MIT
#include "platform/linux/SelectionCommand.h"

#include <QStandardPaths>

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

/// Xwayland starts when it is first asked.
bool hasXwayland()
{
    return qEnvironmentVariableIsSet("DISPLAY") && hasProgram(u"Xwayland"_s);
}

} // namespace

SelectionCommand selectionCommand(Selection selection)
{
    const bool isPrimary = selection == Selection::Primary;
    if (isGnome() && hasXwayland() && hasProgram(u"xclip"_s)) {
        return {u"xclip"_s, {u"-selection"_s, isPrimary ? u"primary"_s : u"clipboard"_s}};
    }
    const QStringList type = {u"--type"_s, u"text/plain;charset=utf-8"_s};
    return {u"wl-copy"_s, isPrimary ? QStringList{u"--primary"_s} + type : type};
}

bool isSelectionLate()
{
    return isGnome();
}

} // namespace kavrin
