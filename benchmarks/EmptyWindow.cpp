// SPDX-License-Identifier: MIT
// The least that a window of Qt Quick Controls can be: what Kavrin's start is measured beside.
#include <QGuiApplication>
#include <QQmlApplicationEngine>

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    const QQmlApplicationEngine engine(QStringLiteral("qrc:/qt/qml/Kavrin/EmptyWindow/EmptyWindow.qml"));
    return QGuiApplication::exec();
}
