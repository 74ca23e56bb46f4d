// SPDX-License-Identifier: MIT
#pragma once

#include "support/ChildProcess.h"

#include <optional>

namespace kavrin::test
{

/// A PulseAudio server of this process's own. It has a sink "speaker" that nobody hears, and a source
/// "microphone" that hears the speaker; both are the defaults. PULSE_SERVER leads this process to it, and
/// nowhere when it does not run. Needs a PrivateHome.
class PrivateSoundServer
{
public:
    /// Points PULSE_SERVER at the server, without starting it.
    PrivateSoundServer();

    /// Returns when the server answers; throws std::runtime_error when it does not.
    void start();

    /// Ends the server as a crash would.
    void kill();

    /// Lets the server stand still: it takes connections and answers none.
    void freeze();

    /// What `pactl` prints for these arguments; throws std::runtime_error when it fails.
    QString control(const QStringList &arguments) const;

    /// The indexes of the streams of a kind ("sink-inputs", "source-outputs") that applications have open.
    QStringList streams(const QString &kind) const;

    /// Plays a WAV file on the speaker, for the microphone to hear; returns when it has ended.
    void speak(const QString &wavPath) const;

private:
    [[nodiscard]] QString socketPath() const;

    std::optional<ChildProcess> m_server;
};

} // namespace kavrin::test
