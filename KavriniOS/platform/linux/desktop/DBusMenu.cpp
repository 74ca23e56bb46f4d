// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/DBusMenu.h"

#include <QDBusError>
#include <QDBusMetaType>

#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

constexpr int root = 0;

const QString labelKey = u"label"_s;

/// Doubles underscores: a single one would mark a key for the entry.
QString label(const QString &title)
{
    return QString(title).replace(u'_', u"__"_s);
}

} // namespace

DBusMenu::DBusMenu()
{
    qRegisterMetaType<QDBusVariant>();
    qDBusRegisterMetaType<DBusMenuLayout>();
    qDBusRegisterMetaType<DBusMenuProperties>();
    qDBusRegisterMetaType<QList<DBusMenuProperties>>();
    qDBusRegisterMetaType<DBusMenuPropertyNames>();
    qDBusRegisterMetaType<QList<DBusMenuPropertyNames>>();
    qDBusRegisterMetaType<DBusMenuEvent>();
    qDBusRegisterMetaType<QList<DBusMenuEvent>>();
}

void DBusMenu::setTitles(const QStringList &titles)
{
    const QList<int> entriesBefore = entries();
    const QStringList before = std::exchange(m_titles, titles);
    if (entries() != entriesBefore) {
        Q_EMIT LayoutUpdated(++m_revision, root);
        return;
    }
    QList<DBusMenuProperties> updated;
    for (const int id : entries()) {
        if (titles[id - 1] != before[id - 1]) {
            updated.append({id, properties(id, {})});
        }
    }
    if (!updated.isEmpty()) {
        Q_EMIT ItemsPropertiesUpdated(updated, {});
    }
}

QList<int> DBusMenu::entries() const
{
    QList<int> ids;
    for (int id = 1; id <= m_titles.size(); ++id) {
        if (!m_titles[id - 1].isEmpty()) {
            ids.append(id);
        }
    }
    return ids;
}

bool DBusMenu::has(int id) const
{
    return id == root || entries().contains(id);
}

QVariantMap DBusMenu::properties(int id, const QStringList &names) const
{
    const QString name = id == root ? u"children-display"_s : labelKey;
    const QString value = id == root ? u"submenu"_s : label(m_titles.value(id - 1));
    const bool isWanted = names.isEmpty() || names.contains(name);
    return isWanted ? QVariantMap{{name, value}} : QVariantMap();
}

uint DBusMenu::GetLayout(int parentId, int recursionDepth, const QStringList &propertyNames,
                         DBusMenuLayout &layout)
{
    if (!has(parentId)) {
        refuse();
        return 0;
    }
    layout = {parentId, properties(parentId, propertyNames), {}};
    const bool goesDown = parentId == root && recursionDepth != 0;
    for (const int id : goesDown ? entries() : QList<int>()) {
        const DBusMenuLayout entry{id, properties(id, propertyNames), {}};
        layout.children.append(QVariant::fromValue(entry));
    }
    return m_revision;
}

QList<DBusMenuProperties> DBusMenu::GetGroupProperties(const QList<int> &ids,
                                                       const QStringList &propertyNames)
{
    QList<DBusMenuProperties> found;
    for (const int id : QList<int>{root} + entries()) {
        if (ids.isEmpty() || ids.contains(id)) {
            found.append({id, properties(id, propertyNames)});
        }
    }
    return found;
}

QDBusVariant DBusMenu::GetProperty(int id, const QString &name)
{
    const QVariantMap found = has(id) ? properties(id, {name}) : QVariantMap();
    if (found.isEmpty()) {
        refuse();
        return {};
    }
    return QDBusVariant(found.first());
}

void DBusMenu::Event(int id, const QString &eventId, const QDBusVariant & /*data*/, uint /*timestamp*/)
{
    if (has(id)) {
        take(id, eventId);
    } else {
        refuse();
    }
}

QList<int> DBusMenu::EventGroup(const QList<DBusMenuEvent> &events)
{
    QList<int> unknown;
    for (const DBusMenuEvent &event : events) {
        if (has(event.id)) {
            take(event.id, event.type);
        } else {
            unknown.append(event.id);
        }
    }
    if (!events.isEmpty() && unknown.size() == events.size()) {
        refuse();
    }
    return unknown;
}

bool DBusMenu::AboutToShow(int id)
{
    if (!has(id)) {
        refuse();
    }
    return false; // nothing to fetch again: signals have told each change
}

QList<int> DBusMenu::AboutToShowGroup(const QList<int> &ids, QList<int> &idErrors)
{
    for (const int id : ids) {
        if (!has(id)) {
            idErrors.append(id);
        }
    }
    if (!ids.isEmpty() && idErrors.size() == ids.size()) {
        refuse();
    }
    return {};
}

/// Ignores the events that tell that an item is hovered, opened or closed.
void DBusMenu::take(int id, const QString &event)
{
    if (id != root && event == u"clicked") {
        Q_EMIT chosen(id - 1);
    }
}

void DBusMenu::refuse()
{
    sendErrorReply(QDBusError::InvalidArgs, u"The menu has nothing of that name."_s);
}

} // namespace kavrin
