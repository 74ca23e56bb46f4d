// SPDX-License-Identifier: MIT
#pragma once

#include "store/PastChange.h"

#include <QCoroTask>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <optional>
#include <vector>

namespace kavrin
{

/// What was done to many settings at once while the window was open, and can be taken back: the last first.
/// Settings that another program, or the user, has changed since stay as they are. Main thread only.
class SettingsUndo : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("SettingsModel has it.")

    Q_PROPERTY(QString text READ text NOTIFY changed)
    Q_PROPERTY(QString note READ note NOTIFY changed)

public:
    using QObject::QObject;

    /// The last that was done, such as "Settings reset". Empty if there is nothing to take back.
    [[nodiscard]] QString text() const;

    /// Why the last could not be taken back. Else empty.
    [[nodiscard]] QString note() const { return m_note; }

    /// Offers to take this back, if it has changed anything.
    void offer(const QString &text, const PastChange &past);

    /// Notes what the settings are, before an import in another process.
    void expectImport();

    /// Offers to take back what has changed since expectImport(), if that was called.
    void offerImport();

    /// Takes the last back, in one transaction.
    Q_INVOKABLE void undo();

    /// Forgets everything.
    Q_INVOKABLE void clear();

Q_SIGNALS:
    void changed();

    /// Settings are as they were.
    void undone();

private:
    struct Step {
        QString text;
        PastChange past;
    };

    QCoro::Task<> takeBack(Step step);

    std::vector<Step> m_steps;
    QString m_note;
    std::optional<PropertyListDictionary> m_beforeImport;
};

} // namespace kavrin
