// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QCoroTask>
#include <QObject>

#include <optional>

namespace kavrin
{

/// The application's standing with the machine's sound service. One for the process; main thread only.
class AudioSession : public QObject
{
    Q_OBJECT

public:
    enum class Category { PlayAndRecord };
    enum class Mode { Default };
    enum Option {
        MixWithOthers = 0x1, ///< other applications go on playing
        AllowBluetooth = 0x4, ///< hands-free devices may be used
        DefaultToSpeaker = 0x8, ///< sound comes from the loudspeaker where a phone would take the earpiece
    };
    Q_DECLARE_FLAGS(Options, Option)
    enum class InterruptionType { Ended = 0, Began = 1 };

    using QObject::QObject;

    /// Whether this application may use the microphone; the user may be asked first.
    virtual QCoro::Task<bool> requestRecordPermission() = 0;

    /// Says what sound is wanted for. Takes effect when the session is activated, or at once when it is
    /// active. Throws Error.
    virtual void setCategory(Category category, Mode mode, Options options) = 0;

    /// Connects to the sound service; does nothing when it is connected. Throws Error.
    virtual void activate() = 0;

Q_SIGNALS:
    /// Sound was taken away from this application, or given back. Without a type when the service gave none.
    void interruption(std::optional<kavrin::AudioSession::InterruptionType> type);
};

Q_DECLARE_OPERATORS_FOR_FLAGS(AudioSession::Options)

} // namespace kavrin
