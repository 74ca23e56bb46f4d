// SPDX-License-Identifier: MIT
#pragma once

#include "support/Suite.h"

#include <chrono>
#include <future>

namespace kavrin::test
{

/// A write of another thread that waits for a lock which the test holds. It waits less long than a write does
/// by itself, so a call that ends while it waits has given up before.
class WaitingWrite
{
public:
    explicit WaitingWrite(UserDefaults &defaults)
        : m_written(std::async(std::launch::async, [&defaults] {
              return defaults.write({{QStringLiteral("waiting"), true}},
                                    QDeadlineTimer(UserDefaults::patience * 4 / 5));
          }))
    {
    }

    [[nodiscard]] bool isWaiting() const
    {
        return m_written.wait_for(std::chrono::seconds(0)) == std::future_status::timeout;
    }

    /// Waits for its end.
    QString failure() { return failureOf(m_written.get()); }

private:
    std::future<std::optional<Error>> m_written;
};

} // namespace kavrin::test
