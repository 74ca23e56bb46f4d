// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"
#include "platform/linux/audio/SuspendedStreams.h"

#include <QByteArray>

#include <pulse/pulseaudio.h>

#include <functional>
#include <vector>

namespace kavrin
{

/// The one connection to the user's sound server (PulseAudio, or PipeWire in its place) and the thread that
/// serves it. Made on first use and kept; after the server went away the next use connects again. A
/// connection without streams keeps no device awake.
///
/// Streams and everything else of libpulse belong to the lock: the sound thread holds it while it runs
/// callbacks, every other thread takes it with SoundServer::Lock, which nests. Callbacks run on the sound
/// thread and call no object of another thread except by posting to it.
class SoundServer
{
public:
    class Lock;

    /// Throws Error "audio" where the system has no room for another event loop.
    SoundServer();

    /// Every stream on it must be gone. Not on the sound thread.
    ~SoundServer();

    SoundServer(const SoundServer &) = delete;
    SoundServer &operator=(const SoundServer &) = delete;

    /// Waits until the server is reached, for two seconds at most; at once where it is. Throws Error "audio".
    /// Not on the sound thread.
    void connect();

    /// Runs `work` on the sound thread once the server is reached, or at once on this thread where it is;
    /// never where it cannot be. Does not wait. The lock is held meanwhile. Not on the sound thread.
    void whenConnected(std::function<void(pa_context *)> work);

    /// What new streams are for, in the server's words ("phone"); empty says nothing.
    void setMediaRole(const QByteArray &role);

    /// With the lock held:
    [[nodiscard]] pa_context *context() const { return m_context; } ///< null before the first connection
    [[nodiscard]] const QByteArray &mediaRole() const { return m_mediaRole; }

    [[nodiscard]] SuspendedStreams &suspendedStreams() { return m_suspendedStreams; }

private:
    static void contextChanged(pa_context *context, void *server);

    void beginConnecting();
    void disconnect();
    [[nodiscard]] bool isUsable() const;

    SuspendedStreams m_suspendedStreams;
    pa_threaded_mainloop *m_loop;
    bool m_started = false; ///< the sound thread
    pa_context *m_context = nullptr;
    std::vector<std::function<void(pa_context *)>> m_waiting;
    QByteArray m_mediaRole;
};

/// Holds the lock of a sound server.
class SoundServer::Lock
{
public:
    explicit Lock(const SoundServer &server) : m_loop(server.m_loop) { pa_threaded_mainloop_lock(m_loop); }
    ~Lock() { pa_threaded_mainloop_unlock(m_loop); }

    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;

private:
    pa_threaded_mainloop *m_loop;
};

} // namespace kavrin
