// SPDX-License-Identifier: MIT
// The smallest window of Qt Quick Controls, which Kavrin's start is measured against. The argument "software"
// draws it without OpenGL.
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>

using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    if (QGuiApplication::arguments().contains(u"software"_s)) {
        QQuickWindow::setSceneGraphBackend(u"software"_s);
    }
    const QQmlApplicationEngine engine(u"qrc:/qt/qml/Kavrin/EmptyWindow/EmptyWindow.qml"_s);
    return QGuiApplication::exec();
}
