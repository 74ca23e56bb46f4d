// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Notifications.h"

#include <optional>

namespace kavrin::test
{

/// A desktop that shows what it is told at once.
class FakeNotifications : public Notifications
{
public:
    std::optional<Notice> shown;

    Number show(const Notice &notice) override
    {
        shown = notice;
        return ++m_last;
    }

    void withdraw(Number number) override
    {
        if (number == m_last) {
            shown.reset();
        }
    }

    [[nodiscard]] bool isPending() const override { return false; }

private:
    Number m_last = 0;
};

} // namespace kavrin::test
