// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UrlSession.h"

#include <curl/curl.h>

#include <memory>
#include <stop_token>

namespace kavrin
{

/// Frees an object with libcurl's function for its type.
template <auto release> struct CurlRelease {
    void operator()(auto *object) const { release(object); }
};

/// Connections that exchanges leave for later ones.
using CurlConnections = std::unique_ptr<CURLM, CurlRelease<curl_multi_cleanup>>;

/// The result of a request. A redirect is an answer like any other.
struct CurlAnswer {
    CURLcode result; ///< CURLE_OK if a whole answer came, whatever its status
    int status;
    int proxyStatus; ///< the status with which a proxy refused a tunnel, or 0
    int systemError; ///< an errno: why the system could not make a connection
    QByteArray redirectTarget; ///< the address to which the answer redirects, or empty
    QByteArray body;
};

/// Sends the request through `proxy` (CURLOPT_PROXY); none if it is empty. Blocks until the answer has come
/// or cannot come. The result is CURLE_ABORTED_BY_CALLBACK after a request to stop `givenUp`. Only one
/// exchange at a time may use `connections`.
CurlAnswer exchange(const UrlRequest &request, const QByteArray &proxy, CURLM *connections,
                    const std::stop_token &givenUp);

} // namespace kavrin
