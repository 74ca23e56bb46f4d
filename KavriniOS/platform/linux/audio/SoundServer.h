// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"
#include "platform/linux/audio/SuspendedStreams.h"

#include <QByteArray>
#include <QFuture>
#include <QPromise>

#include <pulse/pulseaudio.h>

#include <functional>
#include <optional>
#include <vector>

namespace kavrin
{

/// The only connection to the user's sound server (PulseAudio, or PipeWire in its place), and the thread that
/// serves it. It is made on first use and kept. After the server went away, the next use connects again. A
/// connection without streams keeps no device awake.
///
/// A lock protects streams and everything else of libpulse. The sound thread holds it while it runs
/// callbacks. Every other thread takes it with SoundServer::Lock, which nests. Callbacks run on the sound
/// thread; they reach an object of another thread only by posting to it.
class SoundServer
{
public:
    class Lock;

    /// Throws Error "audio" if the system has no room for another event loop.
    SoundServer();

    /// All of its streams must be destroyed before. Not on the sound thread.
    ~SoundServer();

    SoundServer(const SoundServer &) = delete;
    SoundServer &operator=(const SoundServer &) = delete;

    /// Waits until the server is reached: at once if it is, and at most two seconds. Throws Error "audio".
    /// Not on the sound thread.
    void connect();

    /// The same without waiting: how that ends. Any thread may await it. Not on the sound thread.
    [[nodiscard]] QFuture<std::optional<Error>> connecting();

    /// Runs `work` on the sound thread when the server is reached. If it is reached already, runs `work` at
    /// once on this thread; if it cannot be reached, never. Does not wait. `work` runs with the lock held.
    /// Not on the sound thread.
    void whenConnected(std::function<void(pa_context *)> work);

    /// The purpose of new streams, in the server's words ("phone"); empty for none.
    void setMediaRole(const QByteArray &role);

    /// The functions below need the lock.
    [[nodiscard]] pa_context *context() const { return m_context; } ///< null before the first connection
    [[nodiscard]] const QByteArray &mediaRole() const { return m_mediaRole; }

    [[nodiscard]] SuspendedStreams &suspendedStreams() { return m_suspendedStreams; }

private:
    static void contextChanged(pa_context *context, void *server);

    static void limitReached(pa_mainloop_api *api, pa_time_event *timer, const timeval *time, void *server);

    using Outcome = std::optional<Error>;
    QFuture<Outcome> attempt();
    void beginAttempt();
    void endAttempt(const Outcome &failure);
    void startThread();
    void disconnect();
    [[nodiscard]] bool isReady() const;

    SuspendedStreams m_suspendedStreams;
    pa_threaded_mainloop *m_loop;
    bool m_started = false; ///< the sound thread
    pa_context *m_context = nullptr;
    std::optional<QPromise<Outcome>> m_attempt; ///< to connect, while it goes on
    pa_time_event *m_limit = nullptr; ///< of the attempt
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
