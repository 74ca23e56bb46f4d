// SPDX-License-Identifier: MIT
#include "screens/SettingActions.h"

#include "store/Prefs.h"
#include "store/Shared.h"

#include <QCoroFuture>
#include <QPointer>

namespace kavrin
{

using namespace Qt::StringLiterals;

SettingActions::SettingActions(Pasteboard &pasteboard, Contacts &contacts, SettingsUndo &undo,
                               QObject *parent)
    : QObject(parent), m_pasteboard(pasteboard), m_contacts(contacts), m_undo(undo)
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
    return Shared::isShared() && Shared::d().object(u"probeKb"_s);
}

void SettingActions::copyConfig(SettingModel *row)
{
    m_pasteboard.setSecret(Prefs::exportBlob());
    row->setNote(u"Copied. Open the keyboard settings and import."_s);
}

void SettingActions::resetAll(SettingModel *row)
{
    reset(*row);
}

namespace
{

/// Makes the whole page read its values again.
void showReset(SettingModel &row)
{
    row.refresh();
    Q_EMIT row.changed();
}

} // namespace

QCoro::Task<> SettingActions::reset(SettingModel &row)
{
    const QPointer stillThere(&row);
    row.setProblem({});
    const auto past = std::make_shared<PastChange>();
    const QFuture<std::optional<Error>> written = Prefs::resetAll(past);
    showReset(row);
    m_undo.offerWhenWritten(tr("Settings reset"), past, written);
    const std::optional<Error> failure = co_await written;
    if (stillThere && failure) {
        row.setProblem(tr("Nothing was reset. %1").arg(failure->localizedDescription));
        showReset(row);
    }
}

} // namespace kavrin
