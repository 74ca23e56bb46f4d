// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Clock.h"
#include "platform/Typing.h"
#include "tools/typist/RunningKavrin.h"

#include <functional>
#include <memory>
#include <stop_token>

namespace kavrin
{

/// One dictation of the typist's key, from the press to the text where the cursor is. It types at most once:
/// the transcript is marked as used before its first character. Whatever happens later, the text is on the
/// clipboard. Main thread only.
class TypedDictation
{
public:
    /// What a dictation needs. All of it must outlive the dictation.
    struct Platform {
        RunningKavrin &kavrin;
        Clock &clock;
        /// The way of typing that works now, or why there is none.
        std::function<Result<std::unique_ptr<Typing>>()> findTyping;
        std::function<QCoro::Task<bool>()> isLocked;
        /// Whether the user still presses the key that ends the dictation, or its modifiers.
        std::function<bool()> isKeyHeld = [] { return false; };
    };

    explicit TypedDictation(Platform platform);

    /// Starts Kavrin if it does not run, and begins to record. Resumes when Kavrin has taken that up. If
    /// Kavrin records already, ends that recording, and there is no dictation. Throws Error.
    QCoro::Task<> begin();

    /// Resumes when the text stands where the cursor is, or when there is nothing to type. The recording goes
    /// on until end(), or until somebody else ends it. Call it after begin().
    QCoro::Task<> finish();

    /// Ends the recording, as soon as it has begun.
    void end();

    /// Gives the dictation up, as soon as it has begun: nothing is typed, unless the keys are pressed by now.
    /// A text that has come stays on the clipboard.
    void cancel();

    /// Ends the recording as end() does, and leaves the text on the clipboard, unless it has come.
    void leave();

    /// Whether it only waits for the text, so that nothing is lost if the process ends.
    [[nodiscard]] bool isWaiting() const { return m_phase == Phase::Waiting; }

private:
    enum class Phase { Beginning, Recording, Waiting, Delivering };

    QCoro::Task<bool> handOverStart();
    QCoro::Task<> record();
    QCoro::Task<bool> awaitRelease();
    QCoro::Task<> check();
    QCoro::Task<> deliver(double stamp);
    QCoro::Task<QString> claim(double stamp);

    Platform m_platform;
    quint64 m_number = 0; ///< Kavrin's; 0 before it has begun
    bool m_isEndWanted = false; ///< of the recording
    std::stop_source m_wake; ///< the end is wanted, or the dictation is over
    Phase m_phase = Phase::Beginning;
    bool m_isCancelled = false;
    bool m_isLeft = false;
    double m_endedAt = 0; ///< when the recording ended
};

} // namespace kavrin
