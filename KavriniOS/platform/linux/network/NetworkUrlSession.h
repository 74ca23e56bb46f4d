// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UrlSession.h"

#include <memory>

class QNetworkAccessManager;

namespace kavrin
{

/// HTTP/1.1 and HTTP/2 (RFC 9110, 9112, 9113) over Qt's network stack, which is made on first use. Main
/// thread only.
///
/// - Only http and https addresses are reached.
/// - Proxies are those of the system's configuration, or of http_proxy, https_proxy, all_proxy and no_proxy.
/// - Certificates are checked against those that the system trusts; there is no way round that.
/// - Redirects (301, 302, 303, 307, 308) are followed sixteen times at most, and never from https to http.
///   After 301, 302 and 303 a POST becomes a GET without body. Once an address of another scheme, host or
///   port is reached, an Authorization header is no longer sent.
/// - An answer in chunks that is cut short may be returned as far as it came: Qt does not always tell. One
/// with
///   a Content-Length never is.
/// - Nothing is kept between exchanges: no cookies, no credentials, no cached answers. Connections are.
///
/// An Error's code is the number of the QNetworkReply::NetworkError; its description names the host, and
/// never more of the address, which may hold a key.
class NetworkUrlSession final : public UrlSession
{
public:
    NetworkUrlSession();

    /// Ends exchanges that are still under way: whoever awaits them gets an Error before this returns, and
    /// may not use the session any more.
    ~NetworkUrlSession() override;

    QCoro::Task<QByteArray> data(UrlRequest request) override;

private:
    QNetworkAccessManager &manager();

    std::unique_ptr<QNetworkAccessManager> m_manager;
    bool m_closing = false;
};

} // namespace kavrin
