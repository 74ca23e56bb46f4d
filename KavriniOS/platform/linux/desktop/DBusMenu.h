// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/desktop/DBusMenuTypes.h"

#include <QDBusContext>
#include <QList>
#include <QObject>
#include <QStringList>

namespace kavrin
{

/// A menu of one level that a panel draws: version 3 of com.canonical.dbusmenu
/// (https://github.com/AyatanaIndicators/libdbusmenu/blob/main/libdbusmenu-glib/dbus-menu.xml). The item 0
/// holds the entries, which have numbers from 1 on. Properties that have their default ("enabled", "visible")
/// are not sent.
///
/// Any program may call it with any arguments: a call that names only items that do not exist gets an error.
/// Main thread only.
class DBusMenu : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version CONSTANT)
    Q_PROPERTY(QString TextDirection READ textDirection CONSTANT)
    Q_PROPERTY(QString Status READ status CONSTANT)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath CONSTANT)

public:
    /// Makes an empty menu. Export it with its scriptable members.
    DBusMenu();

    /// Sets the titles of the entries, which are shown to the letter. An entry with an empty title is left
    /// out; the others keep their numbers.
    void setTitles(const QStringList &titles);

    [[nodiscard]] uint version() const { return 3; }
    [[nodiscard]] QString textDirection() const { return QStringLiteral("ltr"); }
    [[nodiscard]] QString status() const { return QStringLiteral("normal"); }
    [[nodiscard]] QStringList iconThemePath() const { return {}; }

    /// The interface as other programs call it. An empty list of property names means all of them, an empty
    /// list of ids means all items, and a negative depth means all levels.
    Q_SCRIPTABLE Q_SLOT uint GetLayout(int parentId, int recursionDepth, const QStringList &propertyNames,
                                       kavrin::DBusMenuLayout &layout);
    Q_SCRIPTABLE Q_SLOT QList<kavrin::DBusMenuProperties>
    GetGroupProperties(const QList<int> &ids, const QStringList &propertyNames);
    Q_SCRIPTABLE Q_SLOT QDBusVariant GetProperty(int id, const QString &name);
    Q_SCRIPTABLE Q_SLOT void Event(int id, const QString &eventId, const QDBusVariant &data, uint timestamp);
    Q_SCRIPTABLE Q_SLOT QList<int> EventGroup(const QList<kavrin::DBusMenuEvent> &events);
    Q_SCRIPTABLE Q_SLOT bool AboutToShow(int id);
    Q_SCRIPTABLE Q_SLOT QList<int> AboutToShowGroup(const QList<int> &ids, QList<int> &idErrors);

Q_SIGNALS:
    /// The user has chosen an entry; the first is 0.
    void chosen(int entry);

    Q_SCRIPTABLE void ItemsPropertiesUpdated(const QList<kavrin::DBusMenuProperties> &updatedProps,
                                             const QList<kavrin::DBusMenuPropertyNames> &removedProps);
    Q_SCRIPTABLE void LayoutUpdated(uint revision, int parent);

private:
    [[nodiscard]] bool has(int id) const;
    [[nodiscard]] QVariantMap properties(int id, const QStringList &names) const;
    [[nodiscard]] QList<int> entries() const;
    void take(int id, const QString &event);
    void refuse();

    QStringList m_titles;
    uint m_revision = 1;
};

} // namespace kavrin
