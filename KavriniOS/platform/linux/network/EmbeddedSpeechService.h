// SPDX-License-Identifier: MIT
#pragma once

#include "platform/LocalSpeechService.h"

namespace kavrin
{

/// kavrin-stt: its systemd unit, or where that cannot be, the program that is beside this one.
class EmbeddedSpeechService : public LocalSpeechService
{
public:
    [[nodiscard]] QString address() const override;
    QCoro::Task<Started> start() override;
};

} // namespace kavrin
