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
    [[nodiscard]] const Recorder &recorder() const { return *m_recorder; }

    /// Begins a recording, unless one begins or runs, whichever recorder it is. Resumes when it runs, with
    /// nothing, or with why there is none. Refuses while anything is transcribed.
    QCoro::Task<std::optional<Error>> start();

    /// Ends the recording that runs or begins, whichever recorder it is. Returns why there is nothing to end.
    std::optional<Error> stop();

    /// Ends the recording that runs or begins. If there is none, begins one.
    QCoro::Task<std::optional<Error>> toggle();

    /// Gives up the recording that runs or begins. If there is none, gives up the transcriptions. Neither
    /// transcript, stamp, clipboard nor "done" is written then. Returns why there is nothing to give up.
    std::optional<Error> cancel();

    /// Gives up the transcriptions, and leaves a recording alone that runs. Returns as cancel() does.
    std::optional<Error> cancelTranscriptions();

    /// Transcribes the latest recording once more whose transcription failed. Returns why that cannot be done
    /// now.
    std::optional<Error> again();

    /// The code of an Error "dictation" that no recorder has reported, because the state permits no such
    /// command.
    static constexpr qint64 refused = 2;

private:
    Clock &m_clock;
    Dictations &m_dictations;

    static QCoro::Task<std::optional<Error>> start(std::shared_ptr<Recorder> recorder,
                                                   const Dictations &dictations);
    static std::optional<Error> stop(const Dictations &dictations);

    const std::function<void()> m_startLoopback;
    const std::function<void()> m_endTranscriptions;
    // Shared with run(), which may still wait when the bridge is destroyed.
    std::shared_ptr<Recorder> m_recorder;
    std::shared_ptr<Standby> m_standby;
};

} // namespace kavrin
