// SPDX-License-Identifier: MIT
#include "platform/linux/network/NetworkUrlSession.h"

#include "platform/linux/Module.h"

#include <utility>

namespace kavrin
{

namespace
{

constexpr qint64 failedInit = 2; // CURLE_FAILED_INIT, without libcurl's headers

std::unique_ptr<UrlSession> load(const QString &module)
{
    void *entry =
        moduleEntry(module, "kavrin_url_session",
                    {QStringLiteral("network"), failedInit,
                     QStringLiteral("No server can be reached (%1). Check that Kavrin and libcurl are "
                                    "installed whole.")});
    return std::unique_ptr<UrlSession>(reinterpret_cast<UrlSessionEntry *>(entry)());
}

} // namespace

NetworkUrlSession::NetworkUrlSession() : NetworkUrlSession(modulePath(QStringLiteral("kavrin_curl.so"))) { }

NetworkUrlSession::NetworkUrlSession(QString module) : m_module(std::move(module)) { }

NetworkUrlSession::~NetworkUrlSession() = default;

UrlSession &NetworkUrlSession::session()
{
    if (!m_session) {
        m_session = load(m_module);
    }
    return *m_session;
}

void NetworkUrlSession::endExchanges()
{
    m_session.reset();
}

/// A coroutine, so that a module that cannot be loaded is an error of the exchange like any other.
QCoro::Task<QByteArray> NetworkUrlSession::data(UrlRequest request)
{
    const QCoro::Task<QByteArray> answer = session().data(std::move(request));
    co_return co_await answer;
}

} // namespace kavrin
