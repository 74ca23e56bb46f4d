// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/AddressBookContacts.h"

#include "platform/UserDefaults.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QTimer>

#include <tuple>
#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

using Status = Contacts::AuthorizationStatus;

const QString service = u"org.gnome.evolution.dataserver.AddressBook10"_s;
const QString statusKey = u"contactsAuthorization"_s;

Status rememberedStatus()
{
    const std::optional<PropertyListValue> value = UserDefaults::standard().object(statusKey);
    for (const Status status : {Status::Denied, Status::Authorized}) {
        if (value == PropertyListValue(qint64(status))) {
            return status;
        }
    }
    return Status::NotDetermined;
}

Status statusAfter(const QDBusError &error)
{
    if (!error.isValid()) {
        return Status::Authorized;
    }
    const bool isDenied = error.type() == QDBusError::AccessDenied
        || error.name() == u"org.freedesktop.portal.Error.NotAllowed";
    return isDenied ? Status::Denied : Status::Restricted;
}

} // namespace

AddressBookContacts::AddressBookContacts(QDBusConnection bus) : m_bus(std::move(bus)) { }

Contacts::AuthorizationStatus AddressBookContacts::authorizationStatus() const
{
    return m_status ? *m_status : rememberedStatus();
}

void AddressBookContacts::requestAccess(std::function<void()> completion)
{
    m_completions.push_back(std::move(completion));
    const bool isUnderWay = m_completions.size() > 1;
    if (isUnderWay) {
        return;
    }
    if (authorizationStatus() == Status::NotDetermined && m_bus.isConnected()) {
        ask();
        return;
    }
    if (authorizationStatus() == Status::NotDetermined) {
        settle(Status::Restricted);
    }
    QTimer::singleShot(0, this, &AddressBookContacts::complete);
}

void AddressBookContacts::ask()
{
    const QDBusMessage call =
        QDBusMessage::createMethodCall(service, u"/"_s, u"org.freedesktop.DBus.Peer"_s, u"Ping"_s);
    auto *answer = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        settle(statusAfter(answer->error()));
        complete();
    });
}

void AddressBookContacts::settle(AuthorizationStatus status)
{
    m_status = status;
    if (status != Status::Restricted) {
        // If this cannot be stored, the next process asks again.
        std::ignore = UserDefaults::standard().write({{statusKey, qint64(status)}},
                                                     QDeadlineTimer(UserDefaults::mainThreadPatience));
    }
}

void AddressBookContacts::complete()
{
    for (const std::function<void()> &completion : std::exchange(m_completions, {})) {
        completion();
    }
}

} // namespace kavrin
