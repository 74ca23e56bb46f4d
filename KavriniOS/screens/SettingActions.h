// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Contacts.h"
#include "platform/Pasteboard.h"
#include "screens/SettingModel.h"
#include "screens/SettingsUndo.h"

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

    /// All three must outlive this object.
    SettingActions(Pasteboard &pasteboard, Contacts &contacts, SettingsUndo &undo, QObject *parent);

    [[nodiscard]] Q_INVOKABLE kavrin::SettingActions::ContactsStatus contactsStatus() const;

    /// Asks the user. The row reads the status again when the answer is known.
    Q_INVOKABLE void requestContacts(kavrin::SettingModel *row);

    /// Whether the keyboard has been seen in the suite that this application uses.
    [[nodiscard]] Q_INVOKABLE static bool sharesSettings();

    /// Puts all settings and keys on the clipboard, and says so in the row's note.
    Q_INVOKABLE void copyConfig(kavrin::SettingModel *row);

    /// Resets all settings except keys and other text, and offers to undo that. If it fails, the row's
    /// problem says so.
    Q_INVOKABLE void resetAll(kavrin::SettingModel *row);

private:
    QCoro::Task<> reset(SettingModel &row);

    Pasteboard &m_pasteboard;
    Contacts &m_contacts;
    SettingsUndo &m_undo;
};

} // namespace kavrin
