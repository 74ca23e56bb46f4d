// SPDX-License-Identifier: MIT
#pragma once

#include "platform/FileChooser.h"

#include <QCoroTask>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace kavrin
{

/// Files with the entries of a personal dictionary, a line each, in UTF-8. Main thread only.
class DictionaryFiles : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("SettingsModel has it.")

    Q_PROPERTY(QString note READ note NOTIFY noteChanged)

public:
    /// `chooser` must outlive this object.
    DictionaryFiles(FileChooser &chooser, QObject *parent);

    /// What the last of these has done, or why it could not be done. Empty at first, and if the user has
    /// chosen no file.
    [[nodiscard]] QString note() const { return m_note; }

    /// Adds the lines of a file that the user chooses to the dictionary, except those that are there.
    Q_INVOKABLE void importFile();

    /// Writes the dictionary as it is stored into a file that the user chooses.
    Q_INVOKABLE void exportFile();

    /// Forgets the note.
    Q_INVOKABLE void clearNote() { setNote({}); }

Q_SIGNALS:
    void noteChanged();

private:
    QCoro::Task<> chooseAndImport();
    QCoro::Task<> chooseAndExport();
    void setNote(const QString &note);

    FileChooser &m_chooser;
    QString m_note;
};

} // namespace kavrin
