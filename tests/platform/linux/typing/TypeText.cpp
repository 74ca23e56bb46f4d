// SPDX-License-Identifier: MIT
// Types its input where the cursor is, and stays to serve it to other programs. It says "typed" at the end,
// or why the text was not typed.

#include "platform/linux/typing/findTyping.h"

#include <QCoreApplication>
#include <QFile>
#include <QTextStream>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    kavrin::PortalKeyboard keyboard;
    const kavrin::Result<std::unique_ptr<kavrin::Typing>> typing = kavrin::findTyping(keyboard);
    QTextStream output(stdout);
    if (typing.failure) {
        output << typing.failure->localizedDescription << Qt::endl;
        return 1;
    }
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly)) {
        return 1;
    }
    const std::optional<kavrin::Error> failure =
        QCoro::waitFor(typing.value->type(QString::fromUtf8(input.readAll())));
    output << (failure ? failure->localizedDescription : QStringLiteral("typed")) << Qt::endl;
    return QCoreApplication::exec();
}
