// SPDX-License-Identifier: MIT
#pragma once

#include "dictation/Recorder.h"
#include "dictation/Standby.h"

#include <functional>
#include <stop_token>

namespace kavrin
{

/// The application's side of dictation for the keyboard. It watches the shared suite for the keyboard's
/// commands, controls a recorder with them, and keeps a heartbeat. docs/shared-suite.md describes the keys.
/// Main thread only.
class DictationBridge
{
public:
    /// `platform` and everything that it refers to must outlive run(). `startLoopback` starts the loopback
    /// server, unless it runs.
    DictationBridge(const Recorder::Platform &platform, MakeAudioPlayer makePlayer,
                    std::function<void()> startLoopback);

    /// Starts the loopback server, then serves the keyboard until `stop` is requested.
    QCoro::Task<> run(std::stop_token stop);

    /// The recorder that serves the keyboard.
    [[nodiscard]] const Recorder &recorder() const { return m_keyboard->recorder; }

    /// The commands "start" and "stop". start() begins a recording unless one begins, runs or is being
    /// transcribed. stop() ends the running one.
    QCoro::Task<> start();
    void stop();

private:
    Clock &m_clock;
    struct Keyboard {
        explicit Keyboard(const Recorder::Platform &platform) : recorder(platform) { }

        Recorder recorder;
        bool isStarting = false;
    };

    static QCoro::Task<> start(std::shared_ptr<Keyboard> keyboard);
    static void stop(Keyboard &keyboard);

    const std::function<void()> m_startLoopback;
    // Shared with run(), which may still wait when the bridge is destroyed.
    std::shared_ptr<Keyboard> m_keyboard;
    std::shared_ptr<Standby> m_standby;
};

} // namespace kavrin
