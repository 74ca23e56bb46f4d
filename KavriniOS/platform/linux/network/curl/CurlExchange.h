// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UrlSession.h"

#include <QNetworkProxy>

#include <curl/curl.h>

#include <memory>
#include <stop_token>

namespace kavrin
{

/// Frees with libcurl's own function for the type.
template <auto release> struct CurlRelease {
    void operator()(auto *object) const { release(object); }
};

/// Connections that exchanges leave to later ones.
using CurlConnections = std::unique_ptr<CURLM, CurlRelease<curl_multi_cleanup>>;

/// What became of a request; a redirect is an answer like any other.
struct CurlAnswer {
    CURLcode result; ///< CURLE_OK where a whole answer came, whatever its status
    int status;
    int proxyStatus; ///< with which a proxy refused a tunnel, or 0
    int systemError; ///< an errno: what the system said of a connection that could not be made
    QUrl redirectTarget; ///< where the answer sends the request, or empty
    QByteArray body;
};

/// Sends the request through `proxy`, which is none of the type NoProxy, and blocks until the answer has come
/// or cannot. The result is CURLE_ABORTED_BY_CALLBACK once `givenUp` is requested. One exchange at a time may
/// use `connections`.
CurlAnswer exchange(const UrlRequest &request, const QNetworkProxy &proxy, CURLM *connections,
                    const std::stop_token &givenUp);

} // namespace kavrin
