// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace kavrin
{

/// Access to the user's address book. Main thread only.
class Contacts
{
public:
    enum class AuthorizationStatus {
        NotDetermined = 0, ///< the user has not been asked
        Restricted = 1, ///< there is nothing to ask for
        Denied = 2,
        Authorized = 3,
    };

    virtual ~Contacts() = default;

    /// Whether this application may read the address book. Returns at once.
    [[nodiscard]] virtual AuthorizationStatus authorizationStatus() const = 0;

    /// Asks the user. Returns at once; `completion` is called when the answer is known, whatever it is.
    virtual void requestAccess(std::function<void()> completion) = 0;
};

} // namespace kavrin
