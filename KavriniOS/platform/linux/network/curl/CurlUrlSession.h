// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UrlSession.h"
#include "platform/linux/network/curl/CurlTransfers.h"

#include <unordered_set>

namespace kavrin
{

class CurlExchange;

/// What NetworkUrlSession does, and it says what that is; an Error's code is libcurl's CURLcode.
class CurlUrlSession final : public UrlSession
{
public:
    ~CurlUrlSession() override;

    QCoro::Task<QByteArray> data(UrlRequest request) override;

private:
    CurlTransfers m_transfers;
    std::unordered_set<CurlExchange *> m_exchanges; ///< that are under way
};

} // namespace kavrin
