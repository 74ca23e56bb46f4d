// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>

#include <chrono>
#include <stop_token>

namespace kavrin
{

/// Time as the main thread sees it.
class Clock
{
public:
    virtual ~Clock() = default;

    /// The wall clock, in seconds since 1970-01-01 00:00:00 UTC.
    [[nodiscard]] virtual double now() const = 0;

    /// Resumes after `duration` of the monotonic clock, or at once when `stop` is requested. Main thread
    /// only, and so is the request to stop.
    virtual QCoro::Task<> sleep(std::chrono::milliseconds duration, std::stop_token stop) = 0;
};

} // namespace kavrin
