// SPDX-License-Identifier: MIT
#include "platform/linux/network/curl/CurlUrlSession.h"

#include "platform/linux/network/NetworkUrlSession.h"
#include "platform/linux/network/curl/CurlExchange.h"

#include <QNetworkProxyFactory>

#include <algorithm>
#include <array>
#include <cerrno>

namespace kavrin
{

namespace
{

using namespace Qt::StringLiterals;

constexpr int maximumRedirects = 16;
constexpr int proxyAuthenticationRequired = 407;

Error networkError(CURLcode code, const QString &description)
{
    return {u"network"_s, code, description};
}

void checkAddress(const QUrl &url)
{
    if (url.scheme() != "http"_L1 && url.scheme() != "https"_L1) {
        throw networkError(CURLE_UNSUPPORTED_PROTOCOL,
                           u"Only addresses that begin with http:// or https:// can be reached."_s);
    }
    if (url.host().isEmpty()) {
        throw networkError(CURLE_URL_MALFORMAT, u"The address names no server."_s);
    }
}

/// A line break in a value would begin a header of its own.
void checkHeaders(const UrlRequest &request)
{
    for (const auto &[name, value] : request.headers) {
        if (std::ranges::any_of(value, [](char c) { return c == '\r' || c == '\n' || c == '\0'; })) {
            throw networkError(CURLE_BAD_FUNCTION_ARGUMENT,
                               u"The request's %1 header holds a line break and cannot be sent."_s.arg(
                                   QString::fromLatin1(name)));
        }
    }
}

QNetworkProxy proxyFor(const QUrl &url)
{
    const QList<QNetworkProxy> proxies = QNetworkProxyFactory::systemProxyForQuery(QNetworkProxyQuery(url));
    return proxies.value(0, QNetworkProxy::NoProxy);
}

QString connectionFailure(int systemError, bool toProxy)
{
    switch (systemError) {
    case ECONNREFUSED:
        return toProxy ? u"The connection to the proxy on the way to %1 was refused."_s
                       : u"The connection to %1 was refused."_s;
    case ETIMEDOUT:
        return toProxy ? u"The proxy on the way to %1 did not answer in time."_s
                       : u"%1 did not answer in time."_s;
    default:
        return toProxy ? u"The proxy on the way to %1 cannot be reached; check the network connection."_s
                       : u"%1 cannot be reached; check the network connection."_s;
    }
}

QString proxyFailure(int status)
{
    return status == proxyAuthenticationRequired
        ? u"The proxy on the way to %1 asks for a name and a password."_s
        : u"The proxy on the way to %1 failed."_s;
}

/// In words for a person, with a place for the host.
QString failureDescription(const CurlExchange &exchange, bool throughProxy)
{
    if (exchange.proxyStatus() >= 300) {
        return proxyFailure(exchange.proxyStatus());
    }
    switch (exchange.result()) {
    case CURLE_OK: // only a proxy's own refusal is no answer
        return proxyFailure(exchange.status());
    case CURLE_COULDNT_CONNECT:
        return connectionFailure(exchange.systemError(), throughProxy);
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
        return u"%1 closed the connection before its whole answer had come."_s;
    case CURLE_COULDNT_RESOLVE_HOST: // which newer versions may say of a proxy's name, too
    case CURLE_COULDNT_RESOLVE_PROXY:
        return throughProxy
            ? u"The proxy on the way to %1 was not found."_s
            : u"No server named %1 was found; check the address and the network connection."_s;
    case CURLE_PROXY:
        return proxyFailure(0);
    case CURLE_OPERATION_TIMEDOUT:
        return u"%1 did not answer in time."_s;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_ISSUER_ERROR:
        return u"No secure connection to %1 could be made; its certificate may be unknown, expired or made "
               u"out to another name."_s;
    case CURLE_SSL_CACERT_BADFILE:
        return u"No secure connection to %1 could be made: the certificates that this system trusts cannot "
               u"be "
               u"read. Install the package ca-certificates, or mend SSL_CERT_FILE."_s;
    case CURLE_BAD_CONTENT_ENCODING:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_WEIRD_SERVER_REPLY:
        return u"The answer of %1 could not be understood."_s;
    case CURLE_ABORTED_BY_CALLBACK:
        return u"The exchange with %1 was given up."_s;
    default:
        return u"The connection to %1 failed: "_s + QString::fromUtf8(curl_easy_strerror(exchange.result()))
            + u'.';
    }
}

/// Throws unless a whole answer of the service came.
void checkAnswer(const CurlExchange &exchange, const QUrl &url, bool throughProxy)
{
    const bool isRefusedByProxy = throughProxy && exchange.status() == proxyAuthenticationRequired;
    if (exchange.result() != CURLE_OK || isRefusedByProxy) {
        throw networkError(isRefusedByProxy ? CURLE_PROXY : exchange.result(),
                           failureDescription(exchange, throughProxy).arg(url.host()));
    }
}

/// Where the answer sends the request, or an empty address where it is the last one.
QUrl redirectTarget(const CurlExchange &exchange)
{
    static constexpr std::array followed{301, 302, 303, 307, 308};
    const bool isFollowed = std::ranges::find(followed, exchange.status()) != followed.end();
    return isFollowed ? exchange.redirectTarget() : QUrl();
}

bool haveSameOrigin(const QUrl &a, const QUrl &b)
{
    const int defaultPort = a.scheme() == "https"_L1 ? 443 : 80;
    return a.scheme() == b.scheme() && a.host() == b.host() && a.port(defaultPort) == b.port(defaultPort);
}

void removeHeader(UrlRequest &request, const QByteArray &name)
{
    std::erase_if(request.headers, [&name](const auto &header) {
        return header.first.compare(name, Qt::CaseInsensitive) == 0;
    });
}

bool becomesGet(int status, const QByteArray &method)
{
    return (status == 303 && method != "HEAD") || ((status == 301 || status == 302) && method == "POST");
}

UrlRequest redirected(UrlRequest request, int status, const QUrl &target)
{
    checkAddress(target);
    if (request.url.scheme() == "https"_L1 && target.scheme() == "http"_L1) {
        throw networkError(CURLE_UNSUPPORTED_PROTOCOL,
                           u"%1 sends on to an address that is not secure."_s.arg(request.url.host()));
    }
    if (!haveSameOrigin(request.url, target)) {
        removeHeader(request, "Authorization");
    }
    if (becomesGet(status, request.method)) {
        request.method = "GET";
        request.body.clear();
        removeHeader(request, "Content-Type");
    }
    request.url = target;
    return request;
}

} // namespace

CurlUrlSession::~CurlUrlSession()
{
    while (!m_exchanges.empty()) {
        (*m_exchanges.begin())->giveUp();
    }
}

QCoro::Task<QByteArray> CurlUrlSession::data(UrlRequest request)
{
    checkAddress(request.url);
    checkHeaders(request);
    for (int redirects = 0; redirects <= maximumRedirects; ++redirects) {
        const QNetworkProxy proxy = proxyFor(request.url);
        CurlExchange exchange(m_transfers, request, proxy);
        m_exchanges.insert(&exchange);
        co_await exchange.ended();
        m_exchanges.erase(&exchange);
        checkAnswer(exchange, request.url, proxy.type() != QNetworkProxy::NoProxy);
        const QUrl target = redirectTarget(exchange);
        if (target.isEmpty()) {
            co_return exchange.answer();
        }
        request = redirected(std::move(request), exchange.status(), target);
    }
    throw networkError(CURLE_TOO_MANY_REDIRECTS,
                       u"%1 was reached by too many redirects."_s.arg(request.url.host()));
}

} // namespace kavrin

extern "C" Q_DECL_EXPORT kavrin::UrlSession *kavrin_url_session()
{
    return new kavrin::CurlUrlSession;
}
