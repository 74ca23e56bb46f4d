// SPDX-License-Identifier: MIT
#pragma once

#include "store/PastChange.h"

#include <QCoroTask>
#include <QFuture>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <memory>
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

    /// offer() as soon as the change is stored. Nothing if it fails, or if the window is closed before.
    /// `past` is read when `written` is finished.
    QCoro::Task<> offerWhenWritten(QString text, std::shared_ptr<const PastChange> past,
                                   QFuture<std::optional<Error>> written);

    /// Notes what the settings are, before an import in another process.
    void expectImport();

    /// Offers to take back what has changed since expectImport(), if that was called.
    void offerImport();

    /// Takes the last back, in one transaction.
    Q_INVOKABLE void undo();

    /// Forgets everything that it offers.
    Q_INVOKABLE void clear();

    /// Forgets also what is still being written.
    void closeWindow();

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
    int m_closings = 0; ///< how often the window was closed
    std::optional<PropertyListDictionary> m_beforeImport;
};

} // namespace kavrin
