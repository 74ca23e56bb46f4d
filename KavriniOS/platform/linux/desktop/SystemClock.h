// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Clock.h"

namespace kavrin
{

/// The machine's own time.
class SystemClock : public Clock
{
public:
    [[nodiscard]] double now() const override;
    QCoro::Task<> sleep(std::chrono::milliseconds duration, std::stop_token stop) override;
};

} // namespace kavrin
