// SPDX-License-Identifier: MIT
// The least that a window of Qt Quick Controls can be: what Kavrin's start is measured beside. With the
// argument "software" it is drawn without OpenGL.
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
