// SPDX-License-Identifier: MIT
#pragma once

#include "dictation/Recorder.h"
#include "dictation/Standby.h"

#include <functional>
#include <stop_token>

namespace kavrin
{

/// The application's side of dictation for the keyboard: watches the shared suite for the keyboard's
/// commands, drives a recorder accordingly, and keeps a heartbeat. docs/shared-suite.md describes the keys.
/// Main thread only.
class DictationBridge
{
public:
    /// `platform` and what it refers to must outlive run(). `startLoopback` starts the loopback server,
    /// unless it runs.
    DictationBridge(const Recorder::Platform &platform, MakeAudioPlayer makePlayer,
                    std::function<void()> startLoopback);

    /// Starts the loopback server, then serves the keyboard until `stop` is requested.
    QCoro::Task<> run(std::stop_token stop);

    /// The recorder that serves the keyboard.
    [[nodiscard]] const Recorder &recorder() const { return *m_recorder; }

private:
    Clock &m_clock;
    const std::function<void()> m_startLoopback;
    // Shared with run(), which may be waiting when the bridge is destroyed.
    std::shared_ptr<Recorder> m_recorder;
    std::shared_ptr<Standby> m_standby;
};

} // namespace kavrin
