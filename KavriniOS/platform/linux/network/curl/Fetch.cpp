// SPDX-License-Identifier: MIT
#include "platform/linux/network/NetworkUrlSession.h"
#include "platform/linux/network/curl/CurlExchange.h"
#include "platform/linux/network/curl/CurlFailure.h"
#include "platform/linux/network/curl/Proxy.h"
#include "platform/linux/network/curl/Redirect.h"

#include <algorithm>
#include <atomic>

namespace kavrin
{

namespace
{

using namespace Qt::StringLiterals;

constexpr int maximumRedirects = 16;

/// The connections that the last successful exchange left: a later exchange with the same server need not
/// connect again. Never freed, because OpenSSL goes first when the process ends.
std::atomic<CURLM *> idleConnections = nullptr;

CurlConnections takeConnections()
{
    CURLM *idle = idleConnections.exchange(nullptr);
    return CurlConnections(idle ? idle : curl_multi_init());
}

void keep(CurlConnections connections)
{
    const CurlConnections replaced(idleConnections.exchange(connections.release()));
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

/// A line break in a value would begin a new header.
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

QByteArray fetch(UrlRequest request, const std::stop_token &givenUp)
{
    checkHeaders(request);
    CurlConnections connections = takeConnections();
    for (int redirects = 0; redirects <= maximumRedirects; ++redirects) {
        const QUrl url = QUrl::fromEncoded(request.url);
        checkAddress(url);
        const QByteArray proxy = proxyFor(url);
        CurlAnswer answer = exchange(request, proxy, connections.get(), givenUp);
        checkAnswer(answer, url, !proxy.isEmpty());
        if (!isRedirect(answer)) {
            keep(std::move(connections));
            return std::move(answer.body);
        }
        request = redirected(std::move(request), answer);
    }
    throw networkError(CURLE_TOO_MANY_REDIRECTS,
                       u"%1 was reached by too many redirects."_s.arg(QUrl::fromEncoded(request.url).host()));
}

} // namespace

} // namespace kavrin

extern "C" Q_DECL_EXPORT kavrin::Fetch *kavrin_fetch()
{
    curl_global_init(CURL_GLOBAL_DEFAULT);
    return &kavrin::fetch;
}
