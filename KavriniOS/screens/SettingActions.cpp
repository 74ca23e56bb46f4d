// SPDX-License-Identifier: MIT
#include "screens/SettingActions.h"

#include "store/Prefs.h"
#include "store/Shared.h"

#include <QPointer>

namespace kavrin
{

SettingActions::SettingActions(Pasteboard &pasteboard, Contacts &contacts, QObject *parent)
    : QObject(parent), m_pasteboard(pasteboard), m_contacts(contacts)
{
}

SettingActions::ContactsStatus SettingActions::contactsStatus() const
{
    return ContactsStatus(m_contacts.authorizationStatus());
}

void SettingActions::requestContacts(SettingModel *row)
{
    m_contacts.requestAccess([row = QPointer(row)] {
        if (row) {
            row->refresh();
        }
    });
}

bool SettingActions::sharesSettings()
{
    return Shared::isShared() && Shared::d().object(QStringLiteral("probeKb"));
}

void SettingActions::copyConfig(SettingModel *row)
{
    m_pasteboard.setSecret(Prefs::exportBlob());
    row->setNote(QStringLiteral("Copied. Open the keyboard settings and import."));
}

void SettingActions::resetAll(SettingModel *row)
{
    const bool reset = Prefs::resetAll();
    row->setNote(reset ? QString() : tr("Nothing was reset. %1").arg(Shared::d().lastError()));
}

} // namespace kavrin
