// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

namespace kavrin
{

enum class Selection { Clipboard, Primary };

/// The program that puts a text on a selection of a Wayland compositor, with its arguments, whatever window
/// has the focus. It reads the text from its input, ends when the selection is set, and leaves a process that
/// serves it. It may be missing.
struct SelectionCommand {
    QString program;
    QStringList arguments;
};

/// `wl-copy` (of wl-clipboard), except on GNOME with Xwayland: there it is `xclip`, if that is installed.
/// GNOME lets only a window with the focus set a selection, so wl-copy opens one for a moment, and a window
/// of Qt does not always notice that it has the focus again.
SelectionCommand selectionCommand(Selection selection);

/// Whether the command ends a moment before programs can paste: GNOME still has to give the focus back, or to
/// take the selection over from Xwayland.
bool isSelectionLate();

} // namespace kavrin
