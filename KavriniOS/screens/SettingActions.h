// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Contacts.h"
#include "platform/Pasteboard.h"
#include "screens/SettingModel.h"

#include <QCoroTask>
#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace kavrin
{

/// What the action rows of the settings do and show. Main thread only.
class SettingActions : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("SettingsModel has it.")

public:
    /// In the order of Contacts::AuthorizationStatus.
    enum class ContactsStatus { NotDetermined, Restricted, Denied, Authorized };
    Q_ENUM(ContactsStatus)

    /// Both must outlive this object.
    SettingActions(Pasteboard &pasteboard, Contacts &contacts, QObject *parent);

    [[nodiscard]] Q_INVOKABLE kavrin::SettingActions::ContactsStatus contactsStatus() const;

    /// Asks the user. The row reads the status again when the answer is known.
    Q_INVOKABLE void requestContacts(kavrin::SettingModel *row);

    /// Whether the keyboard has been seen in the suite that this application uses.
    [[nodiscard]] Q_INVOKABLE static bool sharesSettings();

    /// Puts all settings and keys on the clipboard, and says so in the row's note.
    Q_INVOKABLE void copyConfig(kavrin::SettingModel *row);

    /// Resets all settings except keys and other text. If that fails, the row's note says so.
    Q_INVOKABLE static void resetAll(kavrin::SettingModel *row);

private:
    static QCoro::Task<> reset(SettingModel &row);

    Pasteboard &m_pasteboard;
    Contacts &m_contacts;
};

} // namespace kavrin
