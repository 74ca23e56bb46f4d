// SPDX-License-Identifier: MIT
#include "platform/linux/network/NetworkUrlSession.h"

#include "platform/linux/Module.h"

#include <QCoreApplication>
#include <QScopeGuard>

#include <coroutine>
#include <exception>
#include <thread>
#include <utility>

namespace kavrin
{

namespace
{

using namespace Qt::StringLiterals;

constexpr qint64 failedInit = 2; // CURLE_FAILED_INIT, without libcurl's headers

Fetch *load(const QString &module)
{
    void *entry = moduleEntry(module, "kavrin_fetch",
                              {u"network"_s, failedInit,
                               u"No server can be reached (%1). Check that Kavrin and libcurl are "
                               "installed whole."_s});
    return reinterpret_cast<FetchEntry *>(entry)();
}

} // namespace

/// One exchange in its own thread. One coroutine of the main thread awaits it.
class NetworkUrlSession::Exchange : public QObject
{
public:
    /// Throws std::system_error if there can be no more threads.
    Exchange(Fetch *fetch, const UrlRequest &request)
        : m_thread([this, fetch, request](const std::stop_token &givenUp) { run(fetch, request, givenUp); })
    {
    }

    /// The coroutine that awaits it resumes before this returns. The object no longer exists then.
    void giveUp()
    {
        m_thread.request_stop();
        end();
    }

    /// For `co_await`: resumes with the answer, or throws the exception of `fetch`.
    struct Answer {
        Exchange &exchange;

        [[nodiscard]] bool await_ready() const { return false; }
        void await_suspend(std::coroutine_handle<> waiting) const { exchange.m_waiting = waiting; }
        [[nodiscard]] QByteArray await_resume() const { return exchange.result(); }
    };
    Answer answer() { return {*this}; }

private:
    void run(Fetch *fetch, const UrlRequest &request, const std::stop_token &givenUp)
    {
        try {
            m_answer = fetch(request, givenUp);
        } catch (...) {
            m_failure = std::current_exception();
        }
        QCoreApplication::postEvent(this, new QEvent(QEvent::User)); // it calls end() in the main thread
    }

    void customEvent(QEvent * /*fetched*/) override { end(); }

    void end()
    {
        m_thread.join();
        m_waiting.resume();
    }

    QByteArray result()
    {
        if (m_failure) {
            std::rethrow_exception(m_failure);
        }
        return std::move(m_answer);
    }

    QByteArray m_answer;
    std::exception_ptr m_failure;
    std::coroutine_handle<> m_waiting;
    std::jthread m_thread; ///< last, because it uses the members above
};

NetworkUrlSession::NetworkUrlSession() : NetworkUrlSession(modulePath(u"kavrin_curl.so"_s)) { }

NetworkUrlSession::NetworkUrlSession(QString module) : m_module(std::move(module)) { }

NetworkUrlSession::~NetworkUrlSession()
{
    endExchanges();
}

void NetworkUrlSession::endExchanges()
{
    while (!m_exchanges.empty()) {
        (*m_exchanges.begin())->giveUp();
    }
}

QCoro::Task<QByteArray> NetworkUrlSession::data(UrlRequest request)
{
    if (!m_fetch) {
        m_fetch = load(m_module);
    }
    Exchange exchange(m_fetch, request);
    m_exchanges.insert(&exchange);
    const auto end = qScopeGuard([&] { m_exchanges.erase(&exchange); });
    co_return co_await exchange.answer();
}

} // namespace kavrin
