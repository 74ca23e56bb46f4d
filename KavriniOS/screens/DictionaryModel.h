// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QQuickTextDocument>
#include <QString>
#include <QTimer>
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

public:
    explicit DictionaryModel(QObject *parent = nullptr);

    /// Shows the dictionary in an empty editor, and stores what the user changes there.
    Q_INVOKABLE void edit(QQuickTextDocument *editor);

    /// Whether the suite could be read, so that the editor shows what it holds. Until then nothing is stored.
    [[nodiscard]] bool isReadable() const { return m_isReadable; }

    /// Why the last edit could not be stored, also of a page that was closed meanwhile, or why the editor
    /// shows nothing. Else empty.
    [[nodiscard]] QString note() const { return m_note; }

Q_SIGNALS:
    void readableChanged();
    void noteChanged();

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

    QPointer<QTextDocument> m_editor;
    QTimer m_followTimer;
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
