// SPDX-License-Identifier: MIT
#include "screens/DictionaryModel.h"

#include "screens/Difference.h"
#include "screens/StoreNote.h"
#include "screens/TextMerge.h"
#include "screens/UnseenChanges.h"
#include "store/DictionaryKey.h"
#include "store/Shared.h"
#include "store/SuiteWriter.h"

#include <QCoroFuture>
#include <QQuickItem>
#include <QScopedValueRollback>
#include <QTextCursor>
#include <QTextDocument>
#include <QVariantMap>

#include <algorithm>
#include <chrono>
#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{

constexpr std::chrono::milliseconds followInterval = 500ms;
constexpr std::chrono::milliseconds countDelay = 150ms;
constexpr qsizetype mostMarks = 100;
constexpr qsizetype mostFaults = 4;

using Stored = std::optional<PropertyListValue>;

/// Null if there is none.
const QString *textIn(const Stored &value)
{
    return value ? std::get_if<QString>(&*value) : nullptr;
}

/// Unlike QTextDocument::toPlainText(), keeps no-break spaces.
QString textIn(const QTextDocument &editor)
{
    return editor.toRawText().replace(QChar(QChar::ParagraphSeparator), u'\n');
}

} // namespace

DictionaryModel::DictionaryModel(QObject *parent) : QObject(parent)
{
    connect(&m_followTimer, &QTimer::timeout, this, &DictionaryModel::follow);
    m_countTimer.setSingleShot(true);
    connect(&m_countTimer, &QTimer::timeout, this, &DictionaryModel::countEntries);
}

void DictionaryModel::edit(QQuickTextDocument *editor)
{
    m_editor = editor->textDocument();
    // A TextEdit draws only the lines in view where a large text was set. This one is inserted.
    qobject_cast<QQuickItem *>(editor->parent())->setFlag(QQuickItem::ItemObservesViewport);
    connect(m_editor, &QTextDocument::contentsChanged, this, &DictionaryModel::edited);
    follow();
    countEntries();
    m_followTimer.start(followInterval);
    showUnseen();
}

void DictionaryModel::edited()
{
    const QString now = textIn(*m_editor);
    if (m_isShowing || !m_isReadable || now == m_shown) {
        return;
    }
    m_countTimer.start(countDelay);
    const QString before = std::exchange(m_shown, now);
    m_text = withEdit(m_text, before, now);
    store();
}

/// Shows the stored text, unless the editor has edits that are not stored.
void DictionaryModel::follow()
{
    if (m_pending > 0 || *m_saved != m_text || !m_editor) {
        return;
    }
    const Result<Stored> stored = Shared::d().read(dictionaryKey);
    if (stored.failure && !m_isReadable) {
        setNote(unreadableNote(*stored.failure));
    }
    if (stored.failure) {
        return;
    }
    if (!std::exchange(m_isReadable, true)) {
        setNote({});
        Q_EMIT readableChanged();
    }
    const QString *const text = textIn(stored.value);
    const QString shared = text != nullptr ? *text : QString();
    if (shared != m_text) {
        show(shared);
    }
}

/// Changes only the part of the editor's text that differs, so that the cursor stays where it is.
void DictionaryModel::show(const QString &text)
{
    const Difference<QString> change = difference(textIn(*m_editor), shownText(text));
    m_text = text;
    *m_saved = text;
    const QScopedValueRollback showing(m_isShowing, true);
    QTextCursor cursor(m_editor);
    cursor.setPosition(int(change.from));
    cursor.setPosition(int(change.end), QTextCursor::KeepAnchor);
    cursor.insertText(change.now);
    // Undo is for what the user has typed.
    m_editor->clearUndoRedoStacks();
    m_shown = textIn(*m_editor);
    m_countTimer.start(countDelay);
    if (change.now.startsWith(u'\n')) {
        Q_EMIT linesAdded(int(change.from), int(change.from + change.now.size()));
    }
}

QCoro::Task<> DictionaryModel::store()
{
    const QPointer self(this);
    ++m_pending;
    const Written written = SuiteWriter::edit(
        dictionaryKey,
        [saved = m_saved, mine = m_text](const Stored &stored) {
            const QString *const theirs = textIn(stored);
            return theirs != nullptr ? mergedText(*saved, mine, *theirs) : mine;
        },
        [saved = m_saved, mine = m_text](bool isStored) {
            if (isStored) {
                *saved = mine;
            }
        });
    unseenChanges().insert(dictionaryKey, written);
    const std::optional<Error> failure = co_await written;
    if (self) {
        --m_pending;
        showOutcome(failure);
    }
}

/// The last edit of a page that was closed before its outcome was known.
QCoro::Task<> DictionaryModel::showUnseen()
{
    if (!unseenChanges().contains(dictionaryKey)) {
        co_return;
    }
    const QPointer self(this);
    const Written written = unseenChanges().value(dictionaryKey);
    const std::optional<Error> failure = co_await written;
    if (self) {
        showOutcome(failure);
    }
}

void DictionaryModel::showOutcome(const std::optional<Error> &failure)
{
    if (m_pending == 0) {
        unseenChanges().remove(dictionaryKey);
    }
    setNote(failure ? storeNote(*failure) : QString());
}

void DictionaryModel::countEntries()
{
    m_entries = DictionaryEntries::in(m_shown);
    Q_EMIT entriesChanged();
}

QVariantList DictionaryModel::marks() const
{
    QVariantList places;
    for (const DictionaryMark &mark : m_entries.marks.first(std::min(m_entries.marks.size(), mostMarks))) {
        places.append(QVariantMap{{u"from"_s, mark.from}, {u"end"_s, mark.end}});
    }
    return places;
}

QString DictionaryModel::faults() const
{
    const qsizetype shown = std::min(m_entries.marks.size(), mostFaults);
    QStringList lines;
    for (const DictionaryMark &mark : m_entries.marks.first(shown)) {
        lines.append(mark.text);
    }
    if (shown < m_entries.marks.size()) {
        lines.append(tr("And %1 more.").arg(m_entries.marks.size() - shown));
    }
    return lines.join(u'\n');
}

void DictionaryModel::setNote(const QString &note)
{
    if (note != m_note) {
        m_note = note;
        Q_EMIT noteChanged();
    }
}

} // namespace kavrin
