// SPDX-License-Identifier: MIT
#include "platform/linux/network/curl/Redirect.h"

#include "platform/linux/network/curl/CurlFailure.h"

#include <algorithm>
#include <array>

namespace kavrin
{

namespace
{

using namespace Qt::StringLiterals;

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
    return status == 303 || ((status == 301 || status == 302) && method == "POST");
}

} // namespace

bool isRedirect(const CurlAnswer &answer)
{
    static constexpr std::array followed{301, 302, 303, 307, 308};
    return !answer.redirectTarget.isEmpty() && std::ranges::find(followed, answer.status) != followed.end();
}

UrlRequest redirected(UrlRequest request, const CurlAnswer &answer)
{
    const QUrl source = QUrl::fromEncoded(request.url);
    const QUrl target = QUrl::fromEncoded(answer.redirectTarget);
    if (source.scheme() == "https"_L1 && target.scheme() == "http"_L1) {
        throw networkError(CURLE_UNSUPPORTED_PROTOCOL,
                           u"%1 sends on to an address that is not secure."_s.arg(source.host()));
    }
    if (!haveSameOrigin(source, target)) {
        removeHeader(request, "Authorization");
    }
    if (becomesGet(answer.status, request.method)) {
        request.method = "GET";
        request.body.clear();
        removeHeader(request, "Content-Type");
    }
    request.url = answer.redirectTarget;
    return request;
}

} // namespace kavrin
