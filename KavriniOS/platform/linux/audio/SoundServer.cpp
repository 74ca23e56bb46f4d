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
        endAttempt(soundError(u"the application ends"_s));
        disconnect();
    }
    if (m_started) {
        pa_threaded_mainloop_stop(m_loop);
    }
    pa_threaded_mainloop_free(m_loop);
}

bool SoundServer::isReady() const
{
    return m_context && pa_context_get_state(m_context) == PA_CONTEXT_READY;
}

void SoundServer::connect()
{
    const Lock lock(*this);
    const QFuture<Outcome> outcome = attempt();
    while (!outcome.isFinished()) {
        pa_threaded_mainloop_wait(m_loop);
    }
    if (const Outcome failure = outcome.result()) {
        throw Error(*failure);
    }
}

QFuture<std::optional<Error>> SoundServer::connecting()
{
    const Lock lock(*this);
    return attempt();
}

void SoundServer::whenConnected(std::function<void(pa_context *)> work)
{
    const Lock lock(*this);
    attempt();
    if (isReady()) {
        work(m_context);
    } else if (m_attempt) {
        m_waiting.push_back(std::move(work));
    }
}

void SoundServer::setMediaRole(const QByteArray &role)
{
    const Lock lock(*this);
    m_mediaRole = role;
}

/// How the attempt ends that goes on or begins now. Several callers may wait for one.
QFuture<SoundServer::Outcome> SoundServer::attempt()
{
    if (m_attempt) {
        return m_attempt->future();
    }
    m_attempt.emplace();
    m_attempt->start();
    const QFuture<Outcome> outcome = m_attempt->future();
    if (isReady()) {
        endAttempt(std::nullopt);
        return outcome;
    }
    try {
        beginAttempt();
    } catch (const Error &error) {
        endAttempt(error);
    }
    return outcome;
}

void SoundServer::beginAttempt()
{
    disconnect();
    startThread();
    m_context = newContext(pa_threaded_mainloop_get_api(m_loop));
    if (m_context) {
        m_limit = pa_context_rttime_new(m_context, pa_rtclock_now() + connectingLimit, &limitReached, this);
    }
    if (!m_limit) {
        throw soundError(u"out of memory"_s);
    }
    pa_context_set_state_callback(m_context, &contextChanged, this);
    // The context's state tells whether this failed at once.
    pa_context_connect(m_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
}

void SoundServer::endAttempt(const Outcome &failure)
{
    if (!m_attempt) {
        return;
    }
    if (m_limit) {
        pa_threaded_mainloop_get_api(m_loop)->time_free(std::exchange(m_limit, nullptr));
    }
    m_attempt->addResult(failure);
    m_attempt->finish();
    m_attempt.reset();
    pa_threaded_mainloop_signal(m_loop, 0);
}

void SoundServer::startThread()
{
    if (m_started) {
        return;
    }
    // Once the thread runs, this would rename the calling thread instead.
    pa_threaded_mainloop_set_name(m_loop, "sound");
    if (pa_threaded_mainloop_start(m_loop) < 0) {
        throw soundError(u"no thread can be started"_s);
    }
    m_started = true;
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
    if (state == PA_CONTEXT_READY) {
        for (const auto &work : std::exchange(self->m_waiting, {})) {
            work(context);
        }
        self->endAttempt(std::nullopt);
    } else if (!PA_CONTEXT_IS_GOOD(state)) {
        self->m_waiting.clear();
        self->endAttempt(soundError(QString::fromUtf8(pa_strerror(pa_context_errno(context)))));
    }
}

void SoundServer::limitReached(pa_mainloop_api * /*api*/, pa_time_event * /*timer*/, const timeval * /*time*/,
                               void *server)
{
    auto *self = static_cast<SoundServer *>(server);
    self->disconnect();
    self->endAttempt(soundError(u"it does not answer"_s));
}

} // namespace kavrin
