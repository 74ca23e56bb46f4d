// SPDX-License-Identifier: MIT
#pragma once

namespace kavrin
{

/// Sounds that tell a user what the application does. Main thread only.
class SystemSound
{
public:
    enum class Id {
        BeginRecording = 1113,
        EndRecording = 1114,
    };

    virtual ~SystemSound() = default;

    /// Plays a sound. Returns at once and reports no failure.
    virtual void play(Id sound) = 0;
};

} // namespace kavrin
