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

    Q_PROPERTY(QString note READ note NOTIFY told)
    Q_PROPERTY(QString problem READ problem NOTIFY told)

public:
    /// `chooser` must outlive this object.
    DictionaryFiles(FileChooser &chooser, QObject *parent);

    /// What the last of these has done. Empty at first, if it failed, and if the user has chosen no file.
    [[nodiscard]] QString note() const { return m_note; }

    /// Why the last of these could not be done. Else empty.
    [[nodiscard]] QString problem() const { return m_problem; }

    /// Adds the lines of a file that the user chooses to the dictionary, except those that are there.
    Q_INVOKABLE void importFile();

    /// Writes the dictionary as it is stored into a file that the user chooses.
    Q_INVOKABLE void exportFile();

    /// Forgets what was done.
    Q_INVOKABLE void clear() { tell({}, {}); }

Q_SIGNALS:
    void told();

private:
    QCoro::Task<> chooseAndImport();
    QCoro::Task<> chooseAndExport();
    void tell(const QString &note, const QString &problem);

    FileChooser &m_chooser;
    QString m_note;
    QString m_problem;
};

} // namespace kavrin
