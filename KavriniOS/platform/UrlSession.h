// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"

#include <QByteArray>
#include <QCoroTask>

#include <chrono>
#include <utility>
#include <vector>

namespace kavrin
{

struct UrlRequest {
    QByteArray url; ///< absolute (RFC 3986); its path and query are sent byte for byte
    QByteArray method = "GET";
    std::vector<std::pair<QByteArray, QByteArray>> headers;
    QByteArray body;
    std::chrono::milliseconds timeout = std::chrono::seconds(60); ///< while no byte moves either way
    std::chrono::milliseconds answerTimeout = std::chrono::seconds(60); ///< from an answer's first byte on
};

/// HTTP exchanges that use the user's proxies and certificates. Main thread only.
class UrlSession
{
public:
    virtual ~UrlSession() = default;

    /// Sends a request and returns the body of the answer, whatever its status. It follows redirects; an
    /// Authorization header goes only to the host that it was meant for. Throws Error of the domain "network"
    /// if no complete answer came. The session must outlive the exchange.
    virtual QCoro::Task<QByteArray> data(UrlRequest request) = 0;
};

} // namespace kavrin
