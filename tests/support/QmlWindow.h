// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessible>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QStringList>
#include <QVariantMap>

#include <ostream>

/// How GoogleTest shows a text.
inline void PrintTo(const QString &text, std::ostream *stream)
{
    *stream << '"' << text.toStdString() << '"';
}

namespace kavrin::test
{

/// A window with one view in it, driven as a person would: by what is shown under which name. It expects that
/// QML prints no warning while it lives. Needs kavrin_test_window's main().
class QmlWindow
{
public:
    /// Shows the type `type` of the QML module `module` with these properties, filling the window. Where
    /// `inStack`, it is the first view of a stack as in the application.
    QmlWindow(const QString &module, const QString &type, const QVariantMap &properties = {},
              QSize size = QSize(360, 720));
    ~QmlWindow();

    QmlWindow(const QmlWindow &) = delete;
    QmlWindow &operator=(const QmlWindow &) = delete;

    [[nodiscard]] QQuickView &view() { return m_view; }

    /// The view, and the view on top of the stack, which is the same until another one is pushed.
    [[nodiscard]] QQuickItem *root() const;
    [[nodiscard]] QQuickItem *top() const;

    /// What a screen reader finds instead of the top view: the window where the view itself is nothing to it.
    [[nodiscard]] QAccessibleInterface *topInterface() const;

    /// What a screen reader finds visible under a name in the top view, the first with the role `role` where
    /// one is given; null where there is nothing.
    [[nodiscard]] QAccessibleInterface *find(const QString &name,
                                             QAccessible::Role role = QAccessible::NoRole) const;

    /// The item of find(); null where there is nothing.
    [[nodiscard]] QQuickItem *item(const QString &name) const;

    /// All items that are shown in the top view, those above others last.
    [[nodiscard]] QList<QQuickItem *> items() const;

    /// The names of all that a screen reader finds visible in the top view, in order; nameless things left
    /// out.
    [[nodiscard]] QStringList names() const;

    /// The words in the window that are longer than the line they stand in, so that they are cut or broken.
    /// Addresses may be.
    [[nodiscard]] QStringList brokenWords() const;

    /// The window's Kavrin.Theme.
    [[nodiscard]] QObject *theme();

    /// Scrolls an item into view and clicks its middle.
    void click(const QString &name);
    void click(QQuickItem *item);

    /// Takes the top view off the stack.
    void goBack();

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void type(const QString &text);

private:
    QQuickView m_view;
    QStringList m_warnings;
};

} // namespace kavrin::test
