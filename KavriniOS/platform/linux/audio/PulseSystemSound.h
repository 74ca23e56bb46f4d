// SPDX-License-Identifier: MIT
#pragma once

#include "platform/SystemSound.h"
#include "platform/linux/audio/SoundServer.h"

#include <memory>

namespace kavrin
{

/// Two soft tones of an eighth of a second, made here: a rising one for the beginning, a falling one for the
/// end. They play on when this object is destroyed, as long as the connection to the server stays. Without a
/// server there is no sound.
class PulseSystemSound final : public SystemSound
{
public:
    explicit PulseSystemSound(std::shared_ptr<SoundServer> server);

    void play(Id sound) override;

private:
    std::shared_ptr<SoundServer> m_server;
};

} // namespace kavrin
