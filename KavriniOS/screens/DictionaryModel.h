// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"
#include "screens/DictionaryEntries.h"

#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QQuickTextDocument>
#include <QString>
#include <QTimer>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace kavrin
{

/// The personal dictionary as one text in an editor. Every edit is stored under "userDict" of the shared
/// suite, and nothing but edits: all else stays as it is stored, also what other programs add meanwhile. The
/// editor shows that soon. Main thread only.
class DictionaryModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(bool readable READ isReadable NOTIFY readableChanged)
    Q_PROPERTY(QString note READ note NOTIFY noteChanged)
    Q_PROPERTY(QString count READ count NOTIFY entriesChanged)
    Q_PROPERTY(QVariantList marks READ marks NOTIFY entriesChanged)
    Q_PROPERTY(QString faults READ faults NOTIFY entriesChanged)

public:
    explicit DictionaryModel(QObject *parent = nullptr);

    /// Shows the dictionary in an empty editor, and stores what the user changes there.
    Q_INVOKABLE void edit(QQuickTextDocument *editor);

    /// Whether the suite could be read, so that the editor shows what it holds. Until then nothing is stored.
    [[nodiscard]] bool isReadable() const { return m_isReadable; }

    /// Why the last edit could not be stored, also of a page that was closed meanwhile, or why the editor
    /// shows nothing. Else empty.
    [[nodiscard]] QString note() const { return m_note; }

    /// How many words and shortcuts there are, soon after each edit: "2 words and 1 shortcut".
    [[nodiscard]] QString count() const { return m_entries.count(); }

    /// Where the first lines are that repeat an entry, or that lack a side, each as {from, end}.
    [[nodiscard]] QVariantList marks() const;

    /// What is the matter with the first of them, a line each.
    [[nodiscard]] QString faults() const;

Q_SIGNALS:
    void readableChanged();
    void noteChanged();
    void entriesChanged();

    /// The editor shows lines from elsewhere, from the end of another line to `end`.
    void linesAdded(int from, int end);

private:
    void edited();
    void follow();
    void show(const QString &text);
    QCoro::Task<> store();
    QCoro::Task<> showUnseen();
    void showOutcome(const std::optional<Error> &failure);
    void setNote(const QString &note);
    void countEntries();

    QPointer<QTextDocument> m_editor;
    QTimer m_followTimer;
    QTimer m_countTimer;
    DictionaryEntries m_entries;
    QString m_text; ///< the text for which the editor stands
    QString m_shown; ///< the same as the editor has it
    /// The last m_text that the suite has got. The thread that writes may change it as long as m_pending is
    /// not zero.
    std::shared_ptr<QString> m_saved = std::make_shared<QString>();
    int m_pending = 0; ///< how many edits are not stored yet
    bool m_isShowing = false;
    bool m_isReadable = false;
    QString m_note;
};

} // namespace kavrin
