// SPDX-License-Identifier: MIT
#pragma once

#include "platform/AudioSession.h"

namespace kavrin
{

/// Lets the session record and play beside other applications, and activates it. Throws Error.
inline QCoro::Task<> activateForDictation(AudioSession &session)
{
    session.setCategory(AudioSession::Category::PlayAndRecord, AudioSession::Mode::Default,
                        AudioSession::MixWithOthers | AudioSession::AllowBluetooth
                            | AudioSession::DefaultToSpeaker);
    const QCoro::Task<> activation = session.activate();
    co_await activation;
}

} // namespace kavrin
