// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Contacts.h"

#include <QDBusConnection>
#include <QObject>

#include <functional>
#include <optional>
#include <vector>

namespace kavrin
{

/// The address book of Evolution Data Server, which the session bus starts when it is first needed. An
/// address book that can be reached may be read: outside a sandbox, nothing asks the user.
///
/// The application's own defaults keep a positive answer under "contactsAuthorization". They do not keep that
/// there is no address book, because the user may install one before the next start.
class AddressBookContacts : public QObject, public Contacts
{
    Q_OBJECT

public:
    /// `bus` is the session bus.
    explicit AddressBookContacts(QDBusConnection bus = QDBusConnection::sessionBus());

    [[nodiscard]] AuthorizationStatus authorizationStatus() const override;

    /// Asks once: a settled status does not change. The event loop calls `completion`, unless this object is
    /// destroyed before.
    void requestAccess(std::function<void()> completion) override;

private:
    void ask();
    void settle(AuthorizationStatus status);
    void complete();

    QDBusConnection m_bus;
    std::optional<AuthorizationStatus> m_status; ///< set when it has settled in this process
    std::vector<std::function<void()>> m_completions; ///< of the request that is running
};

} // namespace kavrin
