// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QCoroTask>
#include <QObject>

#include <optional>
#include <stop_token>

namespace kavrin
{

/// The application's connection to the machine's sound service. There is one for the process; main thread
/// only.
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

    /// Whether this application may use the microphone. The system may ask the user first. When `withdrawn`
    /// is requested, the system asks no longer, and this resumes with false.
    virtual QCoro::Task<bool> requestRecordPermission(std::stop_token withdrawn) = 0;

    /// Says what the application uses sound for. Takes effect when the session is activated, or at once if it
    /// is active. Throws Error.
    virtual void setCategory(Category category, Mode mode, Options options) = 0;

    /// Connects to the sound service. Does nothing if it is connected. Throws Error. The task may outlive the
    /// session.
    virtual QCoro::Task<> activate() = 0;

Q_SIGNALS:
    /// The system took sound away from this application, or gave it back. There is no type if the service
    /// gave none.
    void interruption(std::optional<kavrin::AudioSession::InterruptionType> type);
};

Q_DECLARE_OPERATORS_FOR_FLAGS(AudioSession::Options)

} // namespace kavrin
