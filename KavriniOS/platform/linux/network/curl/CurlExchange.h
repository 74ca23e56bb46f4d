// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UrlSession.h"
#include "platform/linux/network/curl/CurlTransfers.h"

#include <QByteArray>
#include <QNetworkProxy>
#include <QTimer>
#include <QUrl>

#include <coroutine>

namespace kavrin
{

/// One request and its answer; a redirect is an answer like any other. Main thread only.
class CurlExchange
{
public:
    /// Sends the request. `request` must stay as it is; `proxy` of the type NoProxy is none.
    CurlExchange(CurlTransfers &transfers, const UrlRequest &request, const QNetworkProxy &proxy);
    ~CurlExchange();

    CurlExchange(const CurlExchange &) = delete;
    CurlExchange &operator=(const CurlExchange &) = delete;

    /// Ends it with CURLE_ABORTED_BY_CALLBACK; whoever awaits it resumes before this returns.
    void giveUp() { end(CURLE_ABORTED_BY_CALLBACK); }

    /// For `co_await`, by one coroutine: resumes when the exchange has ended.
    struct End {
        CurlExchange &exchange;

        [[nodiscard]] bool await_ready() const { return exchange.m_ended; }
        void await_suspend(std::coroutine_handle<> waiting) const { exchange.m_waiting = waiting; }
        void await_resume() const { }
    };
    [[nodiscard]] End ended() { return {*this}; }

    // Below: once it has ended.

    /// CURLE_OK where a whole answer came, whatever its status.
    [[nodiscard]] CURLcode result() const { return m_result; }
    [[nodiscard]] int status() const;
    [[nodiscard]] const QByteArray &answer() const { return m_answer; }

    /// Where the answer sends the request, or an empty address.
    [[nodiscard]] QUrl redirectTarget() const;

    /// The status with which a proxy refused a tunnel, or 0.
    [[nodiscard]] int proxyStatus() const;

    /// What the system said of a connection that could not be made: an errno.
    [[nodiscard]] int systemError() const;

private:
    static std::size_t take(char *bytes, std::size_t size, std::size_t count, void *self);
    static std::size_t takeHeader(char *bytes, std::size_t size, std::size_t count, void *self);
    static int bytesMoved(void *self, curl_off_t total, curl_off_t received, curl_off_t toSend,
                          curl_off_t sent);

    void setRequest(const UrlRequest &request);
    void setProxy(const QNetworkProxy &proxy);
    void setCallbacks();
    void end(CURLcode result);
    [[nodiscard]] long number(CURLINFO info) const;

    CurlTransfers &m_transfers;
    CURL *m_handle;
    curl_slist *m_headers = nullptr;
    QTimer m_patience; ///< with a silent connection
    curl_off_t m_moved = 0; ///< bytes, either way
    bool m_headIsWhole = false;
    QByteArray m_answer;
    CURLcode m_result = CURLE_OK;
    bool m_ended = false;
    std::coroutine_handle<> m_waiting;
};

} // namespace kavrin
