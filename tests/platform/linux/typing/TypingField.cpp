// SPDX-License-Identifier: MIT
// Shows a text field of Qt, and keeps what is in it in the file that is its argument. The file is there once
// the field has the focus.

#include "TypingField.h"

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>

namespace
{

const char *const field = R"(
import QtQuick
TextEdit {
    focus: true
    onActiveFocusChanged: if (activeFocus) file.keep(text)
    onTextChanged: if (activeFocus) file.keep(text)
}
)";

} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    kavrin::test::KeptText file;
    QQuickView view;
    view.rootContext()->setContextProperty(QStringLiteral("file"), &file);
    QQmlComponent component(view.engine());
    component.setData(field, QUrl());
    view.setContent(QUrl(), &component, component.create(view.rootContext()));
    view.resize(320, 240);
    view.show();
    view.requestActivate();
    return QGuiApplication::exec();
}
