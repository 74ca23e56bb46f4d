// SPDX-License-Identifier: MIT
// Puts each of its arguments on the clipboard, one after the other, and stays to serve the last of them. The
// file that an argument beginning with "@" names is put there in the argument's place.

#include "platform/linux/desktop/DesktopPasteboard.h"

#include <QFile>
#include <QGuiApplication>

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    kavrin::DesktopPasteboard pasteboard;
    const QStringList arguments = QGuiApplication::arguments().sliced(1);
    for (const QString &argument : arguments) {
        QFile file(argument.mid(1));
        const bool isFile = argument.startsWith(u'@') && file.open(QIODevice::ReadOnly);
        pasteboard.setString(isFile ? QString::fromUtf8(file.readAll()) : argument);
    }
    return QGuiApplication::exec();
}
