// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QAbstractListModel>
#include <QCoroTask>
#include <QFuture>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <set>

namespace kavrin
{

/// The keyboard's toolbar in the editor. It has one row for each entry of the order, "settings" among them,
/// which is not shown. It reads Prefs when it is made, and hands every change to Prefs at once. Before the
/// first change nothing is stored. Main thread only.
class ToolbarOrder : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(int shownCount READ shownCount NOTIFY shownCountChanged)
    Q_PROPERTY(QString note READ note NOTIFY noteChanged)

public:
    enum Role {
        ToolId = Qt::UserRole, ///< "toolId"
        Title, ///< "title"
        Icon, ///< "icon": a system symbol, or "custom.sticker"
        Shown, ///< "shown": whether the editor has a row for it
        VisibleTool, ///< "visibleTool": whether the toolbar has it
        Position, ///< "position": its place among the shown rows, from 1; 0 if it is not shown
    };

    explicit ToolbarOrder(QObject *parent = nullptr);

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    [[nodiscard]] const QStringList &order() const { return m_order; }
    [[nodiscard]] const std::set<QString> &hidden() const { return m_hidden; }

    /// How many rows are shown.
    [[nodiscard]] int shownCount() const;

    /// Why the last change could not be stored and was taken back. Empty if it was stored. Also of one that
    /// was made on a page that was closed before its outcome was known.
    [[nodiscard]] QString note() const { return m_note; }

    /// Moves the row `from` to the place before the row `toOffset`. Both are counted before the move; the
    /// number of rows as `toOffset` moves it to the end. Does nothing if that changes nothing, or if there is
    /// no such row.
    Q_INVOKABLE void move(int from, int toOffset);

    /// Moves a shown row to the `position` among the shown rows: up to before the row that stands there, or
    /// down to after it. If there is no such position, uses the nearest one.
    Q_INVOKABLE void moveTo(int row, int position);

    /// Shows a tool in the toolbar, or hides it. "settings" cannot be hidden.
    Q_INVOKABLE void setVisible(int row, bool visible);

    /// Shows what is stored.
    Q_INVOKABLE void reload();

Q_SIGNALS:
    void shownCountChanged();
    void noteChanged();

private:
    [[nodiscard]] QList<int> shownRows() const;
    void store();
    QCoro::Task<> showOutcome(QFuture<std::optional<Error>> written);
    void setNote(const QString &note);
    void sortLike(const QStringList &order);
    void changed(Role role);

    QStringList m_order;
    std::set<QString> m_hidden;
    QString m_note;
    int m_changes = 0; ///< of which it shows the outcome
};

} // namespace kavrin
