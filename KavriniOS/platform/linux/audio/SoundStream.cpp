// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SoundStream.h"

#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// Closes a stream that has lost its owner, when the server has opened it.
void closeWhenOpened(pa_stream *stream, void * /*unused*/)
{
    switch (pa_stream_get_state(stream)) {
    case PA_STREAM_READY:
        pa_stream_disconnect(stream);
        break;
    case PA_STREAM_FAILED:
    case PA_STREAM_TERMINATED:
        pa_stream_set_state_callback(stream, nullptr, nullptr);
        pa_stream_unref(stream);
        break;
    default:
        break;
    }
}

} // namespace

SoundStream::SoundStream(std::shared_ptr<SoundServer> server, const Description &description,
                         Handlers handlers)
    : m_server(std::move(server)), m_handlers(std::move(handlers)), m_direction(description.direction)
{
    try {
        open(description);
    } catch (const Error &) {
        close();
        throw;
    }
}

SoundStream::~SoundStream()
{
    const SoundServer::Lock lock(*m_server);
    close();
}

void SoundStream::open(const Description &description)
{
    pa_proplist *properties = pa_proplist_new();
    if (!m_server->mediaRole().isEmpty()) {
        pa_proplist_sets(properties, PA_PROP_MEDIA_ROLE, m_server->mediaRole().constData());
    }
    m_stream = pa_stream_new_with_proplist(m_server->context(), description.name, &description.format,
                                           nullptr, properties);
    pa_proplist_free(properties);

    int result = -1;
    if (m_stream) {
        pa_stream_set_state_callback(m_stream, &stateChanged, this);
        pa_stream_set_suspended_callback(m_stream, &suspensionChanged, this);
        // A stream that moves away from a suspended device has its sound again.
        pa_stream_set_moved_callback(m_stream, &suspensionChanged, this);
        if (m_direction == Direction::Capture) {
            pa_stream_set_read_callback(m_stream, &transferable, this);
            result =
                pa_stream_connect_record(m_stream, nullptr, &description.buffer, PA_STREAM_ADJUST_LATENCY);
        } else {
            pa_stream_set_write_callback(m_stream, &transferable, this);
            result = pa_stream_connect_playback(m_stream, nullptr, &description.buffer,
                                                PA_STREAM_ADJUST_LATENCY, nullptr, nullptr);
        }
    }
    if (result < 0) {
        throw Error(u"audio"_s, 2,
                    u"The sound server refused to open a stream (%1)."_s.arg(
                        QString::fromUtf8(pa_strerror(pa_context_errno(m_server->context())))));
    }
}

void SoundStream::close()
{
    if (!m_stream) {
        return;
    }
    for (pa_operation **operation : {&m_draining, &m_asking}) {
        if (*operation) {
            pa_operation_cancel(*operation);
            pa_operation_unref(std::exchange(*operation, nullptr));
        }
    }
    m_server->suspendedStreams().forget(m_stream);
    pa_stream_set_state_callback(m_stream, nullptr, nullptr);
    pa_stream_set_suspended_callback(m_stream, nullptr, nullptr);
    pa_stream_set_moved_callback(m_stream, nullptr, nullptr);
    pa_stream_set_read_callback(m_stream, nullptr, nullptr);
    pa_stream_set_write_callback(m_stream, nullptr, nullptr);
    pa_stream *stream = std::exchange(m_stream, nullptr);
    if (pa_stream_get_state(stream) == PA_STREAM_CREATING) {
        // libpulse would only forget the stream, and the server would keep the device in use until the
        // connection ends.
        pa_stream_set_state_callback(stream, &closeWhenOpened, nullptr);
        return;
    }
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
}

bool SoundStream::isAlive() const
{
    const SoundServer::Lock lock(*m_server);
    return PA_STREAM_IS_GOOD(pa_stream_get_state(m_stream));
}

bool SoundStream::isSuspended() const
{
    const SoundServer::Lock lock(*m_server);
    return pa_stream_get_state(m_stream) == PA_STREAM_READY && pa_stream_is_suspended(m_stream) == 1;
}

void SoundStream::transferNow()
{
    if (pa_stream_get_state(m_stream) != PA_STREAM_READY) {
        return;
    }
    const std::size_t bytes = m_direction == Direction::Capture ? pa_stream_readable_size(m_stream)
                                                                : pa_stream_writable_size(m_stream);
    if (bytes != 0 && bytes != static_cast<std::size_t>(-1)) {
        m_handlers.transfer(m_stream, bytes);
    }
}

void SoundStream::endWhenDrained()
{
    if (!m_draining) {
        m_draining = pa_stream_drain(m_stream, &drained, this);
    }
}

void SoundStream::askWhetherMuted()
{
    if (!m_asking && pa_stream_get_state(m_stream) == PA_STREAM_READY) {
        m_asking = pa_context_get_source_info_by_index(m_server->context(),
                                                       pa_stream_get_device_index(m_stream), &noteMute, this);
    }
}

/// Called for each source that was asked for, and once more at the end.
void SoundStream::noteMute(pa_context * /*context*/, const pa_source_info *source, int end, void *self)
{
    auto *sound = static_cast<SoundStream *>(self);
    if (end == 0) {
        sound->m_isMuted = source->mute != 0;
    } else if (sound->m_asking) {
        pa_operation_unref(std::exchange(sound->m_asking, nullptr));
    }
}

void SoundStream::stateChanged(pa_stream *stream, void *self)
{
    auto *sound = static_cast<SoundStream *>(self);
    const pa_stream_state_t state = pa_stream_get_state(stream);
    if (state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED) {
        sound->m_server->suspendedStreams().forget(stream);
        sound->m_handlers.ended();
    }
}

void SoundStream::suspensionChanged(pa_stream *stream, void *self)
{
    auto *sound = static_cast<SoundStream *>(self);
    sound->m_server->suspendedStreams().update(stream, pa_stream_is_suspended(stream) == 1);
}

void SoundStream::transferable(pa_stream *stream, std::size_t bytes, void *self)
{
    static_cast<SoundStream *>(self)->m_handlers.transfer(stream, bytes);
}

void SoundStream::drained(pa_stream *stream, int /*success*/, void * /*self*/)
{
    pa_stream_disconnect(stream);
}

} // namespace kavrin
