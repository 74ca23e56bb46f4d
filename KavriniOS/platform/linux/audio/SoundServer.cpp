// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SoundServer.h"

#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

constexpr pa_usec_t connectingLimit = 2 * PA_USEC_PER_SEC;

Error soundError(const QString &reason)
{
    return Error(u"audio"_s, 1,
                 u"The sound server cannot be reached (%1). Check that PipeWire or PulseAudio is "
                 "running, then try again."_s.arg(reason));
}

pa_context *newContext(pa_mainloop_api *loop)
{
    pa_proplist *properties = pa_proplist_new();
    pa_proplist_sets(properties, PA_PROP_APPLICATION_NAME, "Kavrin");
    pa_proplist_sets(properties, PA_PROP_APPLICATION_ID, "app.kavrin.Kavrin");
    pa_proplist_sets(properties, PA_PROP_APPLICATION_ICON_NAME, "app.kavrin.Kavrin");
    pa_context *context = pa_context_new_with_proplist(loop, nullptr, properties);
    pa_proplist_free(properties);
    return context;
}

/// Wakes the thread that waits on a server's loop when the time is over. The caller must hold the lock during
/// the whole life of this object.
class TimeLimit
{
public:
    TimeLimit(pa_threaded_mainloop *loop, pa_context *context)
        : m_loop(loop), m_api(pa_threaded_mainloop_get_api(loop)),
          m_timer(pa_context_rttime_new(context, pa_rtclock_now() + connectingLimit, &ring, this))
    {
    }

    ~TimeLimit()
    {
        if (m_timer) {
            m_api->time_free(m_timer);
        }
    }

    TimeLimit(const TimeLimit &) = delete;
    TimeLimit &operator=(const TimeLimit &) = delete;

    /// Without a timer nothing would ever wake the waiting thread, so the time then counts as over.
    [[nodiscard]] bool isOver() const { return m_over || !m_timer; }

private:
    static void ring(pa_mainloop_api * /*api*/, pa_time_event * /*timer*/, const timeval * /*time*/,
                     void *limit)
    {
        auto *self = static_cast<TimeLimit *>(limit);
        self->m_over = true;
        pa_threaded_mainloop_signal(self->m_loop, 0);
    }

    pa_threaded_mainloop *m_loop;
    pa_mainloop_api *m_api;
    bool m_over = false;
    pa_time_event *m_timer;
};

} // namespace

SoundServer::SoundServer() : m_loop(pa_threaded_mainloop_new())
{
    if (!m_loop) {
        throw soundError(u"too many files are open"_s);
    }
}

SoundServer::~SoundServer()
{
    {
        const Lock lock(*this);
        disconnect();
    }
    if (m_started) {
        pa_threaded_mainloop_stop(m_loop);
    }
    pa_threaded_mainloop_free(m_loop);
}

bool SoundServer::isUsable() const
{
    return m_context && PA_CONTEXT_IS_GOOD(pa_context_get_state(m_context));
}

void SoundServer::connect()
{
    const Lock lock(*this);
    beginConnecting();
    bool timeIsOver = false;
    {
        const TimeLimit limit(m_loop, m_context);
        while (isUsable() && pa_context_get_state(m_context) != PA_CONTEXT_READY && !timeIsOver) {
            pa_threaded_mainloop_wait(m_loop);
            timeIsOver = limit.isOver();
        }
    }
    if (pa_context_get_state(m_context) == PA_CONTEXT_READY) {
        return;
    }
    const QString reason =
        timeIsOver ? u"it does not answer"_s : QString::fromUtf8(pa_strerror(pa_context_errno(m_context)));
    disconnect();
    throw soundError(reason);
}

void SoundServer::whenConnected(std::function<void(pa_context *)> work)
{
    const Lock lock(*this);
    try {
        beginConnecting();
    } catch (const Error &) {
        return;
    }
    if (pa_context_get_state(m_context) == PA_CONTEXT_READY) {
        work(m_context);
    } else if (isUsable()) {
        m_waiting.push_back(std::move(work));
    }
}

void SoundServer::setMediaRole(const QByteArray &role)
{
    const Lock lock(*this);
    m_mediaRole = role;
}

void SoundServer::beginConnecting()
{
    if (isUsable()) {
        return;
    }
    disconnect();
    if (!m_started) {
        // Once the thread runs, this would rename the calling thread instead.
        pa_threaded_mainloop_set_name(m_loop, "sound");
        if (pa_threaded_mainloop_start(m_loop) < 0) {
            throw soundError(u"no thread can be started"_s);
        }
        m_started = true;
    }
    m_context = newContext(pa_threaded_mainloop_get_api(m_loop));
    if (!m_context) {
        throw soundError(u"out of memory"_s);
    }
    pa_context_set_state_callback(m_context, &contextChanged, this);
    // The context's state tells whether this failed at once.
    pa_context_connect(m_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
}

/// Ends all streams. Those that have no owner free themselves.
void SoundServer::disconnect()
{
    if (m_context) {
        pa_context_set_state_callback(m_context, nullptr, nullptr);
        pa_context_disconnect(m_context);
        pa_context_unref(m_context);
        m_context = nullptr;
    }
    m_waiting.clear();
}

void SoundServer::contextChanged(pa_context *context, void *server)
{
    auto *self = static_cast<SoundServer *>(server);
    const pa_context_state_t state = pa_context_get_state(context);
    if (state == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state)) {
        const auto waiting = std::exchange(self->m_waiting, {});
        if (state == PA_CONTEXT_READY) {
            for (const auto &work : waiting) {
                work(context);
            }
        }
        pa_threaded_mainloop_signal(self->m_loop, 0);
    }
}

} // namespace kavrin
