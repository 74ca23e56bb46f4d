// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace kavrin
{

/// The personal dictionary as one text. Every edit is stored under "userDict" of the shared suite. Main
/// thread only.
class DictionaryModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(QString userDict READ userDict WRITE setUserDict NOTIFY userDictChanged)
    Q_PROPERTY(QString note READ note NOTIFY noteChanged)

public:
    explicit DictionaryModel(QObject *parent = nullptr);

    /// The text in the editor. Empty if nothing is stored.
    [[nodiscard]] QString userDict() const { return m_userDict; }
    void setUserDict(const QString &userDict);

    /// Why the last edit could not be stored. Empty if it was stored.
    [[nodiscard]] QString note() const { return m_note; }

Q_SIGNALS:
    void userDictChanged();
    void noteChanged();

private:
    QCoro::Task<> store();

    QString m_userDict;
    QString m_note;
};

} // namespace kavrin
