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

/// The address book of Evolution Data Server, which the session bus starts when it is first asked for. That
/// it can be reached is the permission to read it: outside a sandbox the user is asked nothing.
///
/// The answer is remembered in the application's own defaults, under "contactsAuthorization". That there is
/// no address book is not: it may be installed before the next start.
class AddressBookContacts : public QObject, public Contacts
{
    Q_OBJECT

public:
    /// `bus` is the session bus.
    explicit AddressBookContacts(QDBusConnection bus = QDBusConnection::sessionBus());

    [[nodiscard]] AuthorizationStatus authorizationStatus() const override;

    /// Asks once: where the status has settled it stays. `completion` is called from the event loop, unless
    /// this object is destroyed before.
    void requestAccess(std::function<void()> completion) override;

private:
    void ask();
    void settle(AuthorizationStatus status);
    void complete();

    QDBusConnection m_bus;
    std::optional<AuthorizationStatus> m_status; ///< once it has settled in this process
    std::vector<std::function<void()>> m_completions; ///< of the request that is under way
};

} // namespace kavrin
