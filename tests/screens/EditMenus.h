// SPDX-License-Identifier: MIT
#pragma once

#include "support/QmlWindow.h"
#include "support/Wait.h"

#include <QQuickItem>
#include <QtTest/QTest>

#include <gtest/gtest.h>

/// The menu of a text field, as a person uses it.
namespace kavrin::test
{

inline void collectEntries(const QQuickItem *within, QList<QQuickItem *> &entries)
{
    for (QQuickItem *child : within->childItems()) {
        if (child->inherits("QQuickMenuItem") && child->isVisible()) {
            entries.append(child);
        }
        collectEntries(child, entries);
    }
}

inline QList<QQuickItem *> entriesIn(QmlWindow &window)
{
    QList<QQuickItem *> entries;
    collectEntries(window.view().contentItem(), entries);
    return entries;
}

/// The visible entries; in brackets those that cannot be chosen.
inline QStringList menuOf(QmlWindow &window)
{
    QStringList titles;
    for (const QQuickItem *entry : entriesIn(window)) {
        const QString title = entry->property("text").toString();
        titles.append(entry->isEnabled() ? title : u'(' + title + u')');
    }
    return titles;
}

inline bool opens(QmlWindow &window)
{
    return waitUntil([&] { return !menuOf(window).isEmpty(); });
}

inline bool closes(QmlWindow &window)
{
    return waitUntil([&] { return menuOf(window).isEmpty(); });
}

inline void choose(QmlWindow &window, const QString &title)
{
    ASSERT_TRUE(opens(window));
    for (QQuickItem *entry : entriesIn(window)) {
        if (entry->property("text") == title) {
            window.view().grabWindow();
            const QPointF middle = entry->mapToScene(QPointF(entry->width() / 2, entry->height() / 2));
            QTest::mouseClick(&window.view(), Qt::LeftButton, Qt::NoModifier, middle.toPoint());
        }
    }
    EXPECT_TRUE(closes(window));
}

} // namespace kavrin::test
