// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/audio/SoundServer.h"

#include <pulse/pulseaudio.h>

#include <cstddef>
#include <functional>
#include <memory>

namespace kavrin
{

/// One stream of samples from or to the default device of a sound server. Destroying it closes it; no handler
/// runs after that. Any thread may use it except the sound thread, on which its handlers run.
class SoundStream
{
public:
    enum class Direction { Capture, Playback };

    /// These run on the sound thread with the server's lock held.
    struct Handlers {
        /// `bytes` bytes can be read from the stream, or written to it.
        std::function<void(pa_stream *stream, std::size_t bytes)> transfer;
        /// The stream has ended: drained, refused by the server, or gone with it.
        std::function<void()> ended;
    };

    /// The properties of a stream: the name that a mixer shows, the sample format, and libpulse's buffer
    /// sizes.
    struct Description {
        Direction direction;
        const char *name;
        pa_sample_spec format;
        pa_buffer_attr buffer;
    };

    /// Opens the stream. The handlers tell whether the server accepts it. The server must be connected, and
    /// the caller must hold its lock. Throws Error "audio".
    SoundStream(std::shared_ptr<SoundServer> server, const Description &description, Handlers handlers);
    ~SoundStream();

    SoundStream(const SoundStream &) = delete;
    SoundStream &operator=(const SoundStream &) = delete;

    /// Whether the stream has neither failed nor ended.
    [[nodiscard]] bool isAlive() const;

    /// Whether the server has suspended the stream's device.
    [[nodiscard]] bool isSuspended() const;

    /// What the server has last said to askWhetherMuted() of the source that is captured. Only with the
    /// server's lock held.
    [[nodiscard]] bool isMuted() const { return m_isMuted; }

    /// Returns at once, and asks one thing at a time. Only for a capture, with the server's lock held.
    void askWhetherMuted();

    /// Runs the transfer handler with the bytes that can be transferred now. Only with the server's lock
    /// held.
    void transferNow();

    /// Ends the stream when everything that was written has been heard. Only with the server's lock held.
    void endWhenDrained();

private:
    static void stateChanged(pa_stream *stream, void *self);
    static void suspensionChanged(pa_stream *stream, void *self);
    static void transferable(pa_stream *stream, std::size_t bytes, void *self);
    static void noteMute(pa_context *context, const pa_source_info *source, int end, void *self);
    static void drained(pa_stream *stream, int success, void *self);

    void open(const Description &description);
    void close();

    std::shared_ptr<SoundServer> m_server;
    Handlers m_handlers;
    Direction m_direction;
    pa_stream *m_stream = nullptr;
    pa_operation *m_draining = nullptr;
    pa_operation *m_asking = nullptr;
    bool m_isMuted = false;
};

} // namespace kavrin
