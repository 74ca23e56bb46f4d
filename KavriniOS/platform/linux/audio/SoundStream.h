// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/audio/SoundServer.h"

#include <pulse/pulseaudio.h>

#include <cstddef>
#include <functional>
#include <memory>

namespace kavrin
{

/// One stream of samples from or to the default device of a sound server. Closed when destroyed; no handler
/// runs after that. Used from any thread but the sound thread, where its handlers run.
class SoundStream
{
public:
    enum class Direction { Capture, Playback };

    /// Run on the sound thread with the server's lock held.
    struct Handlers {
        /// So many bytes can be read from the stream, or written to it.
        std::function<void(pa_stream *stream, std::size_t bytes)> transfer;
        /// The stream has ended: drained, refused by the server, or gone with it.
        std::function<void()> ended;
    };

    /// What a stream is: the name that a mixer shows, the samples, and libpulse's buffer sizes.
    struct Description {
        Direction direction;
        const char *name;
        pa_sample_spec format;
        pa_buffer_attr buffer;
    };

    /// Opens the stream; whether the server accepts it is told by the handlers. With the server connected and
    /// its lock held. Throws Error "audio".
    SoundStream(std::shared_ptr<SoundServer> server, const Description &description, Handlers handlers);
    ~SoundStream();

    SoundStream(const SoundStream &) = delete;
    SoundStream &operator=(const SoundStream &) = delete;

    /// Neither failed nor ended.
    [[nodiscard]] bool isAlive() const;

    /// The server holds the stream's device back.
    [[nodiscard]] bool isSuspended() const;

    /// Runs the transfer handler with what can be transferred now. Only with the server's lock held.
    void transferNow();

    /// Ends the stream when all that was written has been heard. Only with the server's lock held.
    void endWhenDrained();

private:
    static void stateChanged(pa_stream *stream, void *self);
    static void suspensionChanged(pa_stream *stream, void *self);
    static void transferable(pa_stream *stream, std::size_t bytes, void *self);
    static void drained(pa_stream *stream, int success, void *self);

    void open(const Description &description);
    void close();

    std::shared_ptr<SoundServer> m_server;
    Handlers m_handlers;
    Direction m_direction;
    pa_stream *m_stream = nullptr;
    pa_operation *m_draining = nullptr;
};

} // namespace kavrin
