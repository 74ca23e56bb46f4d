// SPDX-License-Identifier: MIT
#include "screens/ToolbarOrder.h"

#include "platform/PlatformText.h"
#include "screens/StoreNote.h"
#include "screens/UnseenChanges.h"
#include "store/Prefs.h"

#include <QCoroFuture>
#include <QPointer>

#include <algorithm>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const QString settingsTool = u"settings"_s;
const QString toolbar = u"toolOrder"_s; // among the unseen changes

/// Null if no tool has that identifier.
const Prefs::Tool *findTool(const QString &id)
{
    const std::vector<Prefs::Tool> &tools = Prefs::toolIDs();
    const auto tool = std::ranges::find(tools, id, &Prefs::Tool::id);
    return tool == tools.end() ? nullptr : &*tool;
}

bool isShown(const QString &id)
{
    return id != settingsTool && findTool(id) != nullptr;
}

} // namespace

ToolbarOrder::ToolbarOrder(QObject *parent)
    : QAbstractListModel(parent), m_order(Prefs::toolOrder()), m_hidden(Prefs::toolHidden())
{
    if (unseenChanges().contains(toolbar)) {
        showOutcome(unseenChanges().value(toolbar));
    }
}

int ToolbarOrder::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_order.size());
}

QVariant ToolbarOrder::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const QString &id = m_order[index.row()];
    const Prefs::Tool *tool = findTool(id);
    switch (role) {
    case ToolId:
        return id;
    case Title:
        return tool != nullptr ? platformText(tool->title) : QString();
    case Icon:
        return tool != nullptr ? tool->icon : QString();
    case Shown:
        return isShown(id);
    case VisibleTool:
        return !m_hidden.contains(id);
    case Position:
        return int(shownRows().indexOf(index.row())) + 1;
    default:
        return {};
    }
}

QHash<int, QByteArray> ToolbarOrder::roleNames() const
{
    return {
        {ToolId, "toolId"},           {Title, "title"},       {Icon, "icon"}, {Shown, "shown"},
        {VisibleTool, "visibleTool"}, {Position, "position"},
    };
}

QList<int> ToolbarOrder::shownRows() const
{
    QList<int> rows;
    for (int row = 0; row < rowCount(); ++row) {
        if (isShown(m_order[row])) {
            rows.append(row);
        }
    }
    return rows;
}

int ToolbarOrder::shownCount() const
{
    return int(shownRows().size());
}

void ToolbarOrder::move(int from, int toOffset)
{
    const bool exists = from >= 0 && from < rowCount() && toOffset >= 0 && toOffset <= rowCount();
    if (!exists || toOffset == from || toOffset == from + 1) {
        return;
    }
    beginMoveRows({}, from, from, {}, toOffset);
    m_order.move(from, toOffset > from ? toOffset - 1 : toOffset);
    endMoveRows();
    changed(Position);
    store();
}

void ToolbarOrder::moveTo(int row, int position)
{
    const QList<int> rows = shownRows();
    const qsizetype now = rows.indexOf(row);
    if (now < 0) {
        return;
    }
    const qsizetype target = std::clamp<qsizetype>(position - 1, 0, rows.size() - 1);
    move(row, target > now ? rows[target] + 1 : rows[target]);
}

void ToolbarOrder::setVisible(int row, bool visible)
{
    if (row < 0 || row >= rowCount() || m_order[row] == settingsTool) {
        return;
    }
    std::set<QString> hidden = m_hidden;
    if (visible) {
        hidden.erase(m_order[row]);
    } else {
        hidden.insert(m_order[row]);
    }
    if (hidden != m_hidden) {
        m_hidden = hidden;
        // The change concerns all rows, because the order may hold a tool twice.
        changed(VisibleTool);
        store();
    }
}

/// Stores the change, which is already shown.
void ToolbarOrder::store()
{
    setNote({});
    const Written written = Prefs::submit(Prefs::toolChanges(m_order, m_hidden));
    unseenChanges().insert(toolbar, written);
    showOutcome(written);
}

/// If the change could not be stored, takes it back.
QCoro::Task<> ToolbarOrder::showOutcome(QFuture<std::optional<Error>> written)
{
    const QPointer self(this);
    const int change = ++m_changes;
    const std::optional<Error> failure = co_await written;
    if (!self) {
        co_return;
    }
    if (change == m_changes) {
        unseenChanges().remove(toolbar);
    }
    setNote(failure ? storeNote(*failure) : QString());
    if (failure) {
        reload();
    }
}

void ToolbarOrder::setNote(const QString &note)
{
    if (note != m_note) {
        m_note = note;
        Q_EMIT noteChanged();
    }
}

void ToolbarOrder::reload()
{
    m_hidden = Prefs::toolHidden();
    changed(VisibleTool);
    const QStringList stored = Prefs::toolOrder();
    if (std::ranges::is_permutation(stored, m_order)) {
        sortLike(stored);
    } else {
        beginResetModel();
        m_order = stored;
        endResetModel();
        Q_EMIT shownCountChanged();
    }
}

/// Moves row by row: after a reset, a view makes all rows again and loses the focus.
void ToolbarOrder::sortLike(const QStringList &order)
{
    for (int row = 0; row < rowCount(); ++row) {
        const auto from = int(m_order.indexOf(order[row], row));
        if (from != row) {
            beginMoveRows({}, from, from, {}, row);
            m_order.move(from, row);
            endMoveRows();
        }
    }
    changed(Position);
}

void ToolbarOrder::changed(Role role)
{
    Q_EMIT dataChanged(index(0), index(rowCount() - 1), {role});
}

} // namespace kavrin
