// SPDX-License-Identifier: MIT
// Puts each of its arguments on the clipboard, one after the other, and stays to serve the last of them. The
// file that an argument beginning with "@" names is put there in the argument's place.
//
// "--tell FILE TEXT" makes the file once the text is there for others.
//
// "--window TEXT" puts the text there once a window of it has the focus. "--secret TEXT" puts it there as a
// secret, at once and with each key that the window gets. "--read FILE" writes what is on the clipboard to
// the file.

#include "platform/linux/desktop/DesktopPasteboard.h"

#include <QFile>
#include <QGuiApplication>
#include <QRasterWindow>

namespace
{

kavrin::DesktopPasteboard pasteboard;

class Window : public QRasterWindow
{
public:
    explicit Window(QString secret) : m_secret(std::move(secret)) { }

protected:
    void keyPressEvent(QKeyEvent *) override { pasteboard.setSecret(m_secret); }

private:
    QString m_secret;
};

void set(const QStringList &texts)
{
    for (const QString &text : texts) {
        QFile file(text.mid(1));
        const bool isFile = text.startsWith(u'@') && file.open(QIODevice::ReadOnly);
        pasteboard.setString(isFile ? QString::fromUtf8(file.readAll()) : text);
    }
}

int setAndTell(const QString &path, const QString &text)
{
    QCoro::waitFor(pasteboard.setString(text));
    QFile file(path);
    return file.open(QIODevice::WriteOnly) ? QGuiApplication::exec() : 1;
}

int setWithFocus(const QString &text)
{
    QRasterWindow window;
    QObject::connect(&window, &QWindow::activeChanged, [&] {
        if (window.isActive()) {
            pasteboard.setString(text);
        }
    });
    window.show();
    window.requestActivate();
    return QGuiApplication::exec();
}

int setSecret(const QString &text)
{
    Window window(text);
    window.show();
    pasteboard.setSecret(text);
    return QGuiApplication::exec();
}

int writeTo(const QString &path)
{
    const QCoro::Task<QString> text = pasteboard.text();
    QFile file(path + QStringLiteral(".part"));
    if (!file.open(QIODevice::WriteOnly)) {
        return 1;
    }
    file.write(QCoro::waitFor(text).toUtf8());
    return file.rename(path) ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments().sliced(1);
    if (arguments.value(0) == u"--tell") {
        return setAndTell(arguments.value(1), arguments.value(2));
    }
    if (arguments.value(0) == u"--window") {
        return setWithFocus(arguments.value(1));
    }
    if (arguments.value(0) == u"--secret") {
        return setSecret(arguments.value(1));
    }
    if (arguments.value(0) == u"--read") {
        return writeTo(arguments.value(1));
    }
    set(arguments);
    return QGuiApplication::exec();
}
