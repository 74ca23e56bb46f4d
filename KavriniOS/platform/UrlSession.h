// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QByteArray>
#include <QCoroTask>
#include <QUrl>

#include <chrono>
#include <utility>
#include <vector>

namespace kavrin
{

struct UrlRequest {
    QUrl url;
    QByteArray method = "GET";
    std::vector<std::pair<QByteArray, QByteArray>> headers;
    QByteArray body;
    std::chrono::milliseconds timeout = std::chrono::seconds(60); ///< without a byte moving either way
};

/// HTTP exchanges, over the proxies and certificates that the user has set up. Main thread only.
class UrlSession
{
public:
    virtual ~UrlSession() = default;

    /// Sends a request and returns the body of the answer, whatever its status. Redirects are followed;
    /// an Authorization header stays on its host. Throws Error of the domain "network" where no whole answer
    /// came. The session must outlive the exchange.
    virtual QCoro::Task<QByteArray> data(UrlRequest request) = 0;
};

} // namespace kavrin
