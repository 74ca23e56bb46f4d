// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Contacts.h"

#include <utility>

namespace kavrin::test
{

/// An address book that the test opens or closes.
class FakeContacts : public Contacts
{
public:
    AuthorizationStatus status = AuthorizationStatus::NotDetermined;

    [[nodiscard]] AuthorizationStatus authorizationStatus() const override { return status; }
    void requestAccess(std::function<void()> completion) override { m_completion = std::move(completion); }

    /// The user answers.
    void settle(AuthorizationStatus answer)
    {
        status = answer;
        std::exchange(m_completion, nullptr)();
    }

private:
    std::function<void()> m_completion;
};

} // namespace kavrin::test
