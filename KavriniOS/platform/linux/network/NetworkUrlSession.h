// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UrlSession.h"

#include <QString>

#include <stop_token>
#include <unordered_set>

namespace kavrin
{

/// Does one request of NetworkUrlSession. Blocks until it is done, or until some milliseconds after a request
/// to stop `givenUp`. Throws Error "network", also then. Any thread, several at once.
using Fetch = QByteArray(UrlRequest request, const std::stop_token &givenUp);

/// The module's only function, named kavrin_fetch.
using FetchEntry = Fetch *();

/// HTTP/1.1 and HTTP/2 (RFC 9110, 9112, 9113) with libcurl, in the module kavrin_curl.so
/// (platform/linux/Module.h), which the first request loads. Each exchange has its own thread. Main thread
/// only.
///
/// - Only http and https addresses are reached.
/// - No proxy is on the way to an address of this machine. For others it is that of the environment, if there
///   is one (http_proxy, https_proxy, all_proxy and no_proxy, in the form that libcurl gives them), or else
///   that of the system's configuration.
/// - The request's limit for an answer also holds for that of a proxy which is to make a tunnel, and for the
///   tunnel's TLS handshake. Both together begin with the first line of the proxy's answer.
/// - A certificate must come from an authority that the system trusts, or from one in the file that
///   SSL_CERT_FILE names. There is no exception.
/// - At most sixteen redirects (301, 302, 303, 307, 308) are followed, and none from https to http. After
///   301, 302 and 303 a POST becomes a GET without body. From the first address with another scheme, host or
///   port on, an Authorization header is not sent any more.
/// - An answer is at most 4,000,000 bytes after it is unpacked, and has at most 100,000 bytes of headers. A
///   larger one is not read to its end.
/// - Nothing is kept between exchanges except connections: no cookies, no credentials, no cached answers.
///
/// (Why libcurl and not Qt's network stack: Qt writes head and body of a request separately and leaves
/// Nagle's algorithm on, RFC 896. One upload in eight then waits 40 ms for the other side to acknowledge what
/// it has.)
///
/// An Error's code is libcurl's CURLcode. It is 2 if the module cannot be loaded; the next request tries
/// again. The description names the host and nothing else of the address, which may hold a key.
class NetworkUrlSession final : public UrlSession
{
public:
    NetworkUrlSession();

    /// For tests: the module at any path.
    explicit NetworkUrlSession(QString module);

    /// Ends running exchanges. Each caller that awaits one gets an Error before this returns, and must not
    /// use the session any more.
    ~NetworkUrlSession() override;

    QCoro::Task<QByteArray> data(UrlRequest request) override;

    /// Ends running exchanges. Each caller that awaits one gets an Error before this returns, which takes
    /// some milliseconds.
    void endExchanges();

private:
    class Exchange;

    QString m_module;
    Fetch *m_fetch = nullptr; ///< null before it is loaded
    std::unordered_set<Exchange *> m_exchanges; ///< the running ones
};

} // namespace kavrin
