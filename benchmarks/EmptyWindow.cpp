// SPDX-License-Identifier: MIT
// The least that a window of Qt Quick Controls can be: what Kavrin's start is measured beside. With the
// argument "software" it is drawn without OpenGL.
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    if (QGuiApplication::arguments().contains(QStringLiteral("software"))) {
        QQuickWindow::setSceneGraphBackend(QStringLiteral("software"));
    }
    const QQmlApplicationEngine engine(QStringLiteral("qrc:/qt/qml/Kavrin/EmptyWindow/EmptyWindow.qml"));
    return QGuiApplication::exec();
}
