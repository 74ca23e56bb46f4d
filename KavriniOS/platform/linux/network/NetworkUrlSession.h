// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UrlSession.h"

#include <QString>

#include <stop_token>
#include <unordered_set>

namespace kavrin
{

/// What NetworkUrlSession does for one request. Blocks until it is done; throws Error "network", too: some
/// milliseconds after `givenUp` was requested at the latest. Any thread, several at once.
using Fetch = QByteArray(UrlRequest request, const std::stop_token &givenUp);

/// The module's one function, by the name kavrin_fetch.
using FetchEntry = Fetch *();

/// HTTP/1.1 and HTTP/2 (RFC 9110, 9112, 9113) with libcurl, in the module kavrin_curl.so
/// (platform/linux/Module.h), which is loaded at the first request. Each exchange has a thread of its own.
/// Main thread only.
///
/// - Only http and https addresses are reached.
/// - Proxies are those of the system's configuration, or of http_proxy, https_proxy, all_proxy and no_proxy.
/// - Certificates are checked against those that the system trusts, or those in the file that SSL_CERT_FILE
///   names; there is no way round that.
/// - Redirects (301, 302, 303, 307, 308) are followed sixteen times at most, and never from https to http.
///   After 301, 302 and 303 a POST becomes a GET without body. Once an address of another scheme, host or
///   port is reached, an Authorization header is no longer sent.
/// - Nothing is kept between exchanges: no cookies, no credentials, no cached answers. Connections are.
///
/// (libcurl and not Qt's network stack: Qt writes head and body of a request apart and leaves Nagle's
/// algorithm on, RFC 896, so that one upload in eight waits 40 ms for the other side to acknowledge what it
/// has.)
///
/// An Error's code is libcurl's CURLcode, 2 where the module cannot be loaded (the next request tries again);
/// its description names the host, and never more of the address, which may hold a key.
class NetworkUrlSession final : public UrlSession
{
public:
    NetworkUrlSession();

    /// With a module at any place.
    explicit NetworkUrlSession(QString module);

    /// Ends exchanges that are still under way: whoever awaits them gets an Error before this returns, and
    /// may not use the session any more.
    ~NetworkUrlSession() override;

    QCoro::Task<QByteArray> data(UrlRequest request) override;

    /// Ends exchanges that are still under way: whoever awaits them gets an Error before this returns, which
    /// takes some milliseconds.
    void endExchanges();

private:
    class Exchange;

    QString m_module;
    Fetch *m_fetch = nullptr; ///< once it is loaded
    std::unordered_set<Exchange *> m_exchanges; ///< that are under way
};

} // namespace kavrin
