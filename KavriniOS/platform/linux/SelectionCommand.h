// SPDX-License-Identifier: MIT
#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

namespace kavrin
{

enum class Selection { Clipboard, Primary };

/// The program that puts a text on a selection of the desktop, with its arguments, whatever window has the
/// focus. It ends when the selection is set or a moment before, and leaves a process that serves it. It may
/// be missing.
struct SelectionCommand {
    QString program;
    QStringList arguments;
    QString package; ///< of Debian, that brings the program
};

/// Under X11 it is `xclip`, and under Wayland `wl-copy`, except on GNOME with Xwayland: there it is `xclip`,
/// if that is installed. GNOME lets only a window with the focus set a selection, so wl-copy opens one for a
/// moment, and a window of Qt does not always notice that it has the focus again.
SelectionCommand selectionCommand(Selection selection);

/// Starts `process` as the program that puts the text on the selection. It gets the whole text, also if this
/// process is killed meanwhile.
void startSelecting(QProcess &process, Selection selection, const QString &text);

/// Whether the command ends a moment before programs can paste: GNOME still has to give the focus back, or to
/// take the selection over from Xwayland.
bool isSelectionLate();

} // namespace kavrin
