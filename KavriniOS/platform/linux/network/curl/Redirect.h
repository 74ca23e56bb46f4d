// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/network/curl/CurlExchange.h"

namespace kavrin
{

/// Whether the answer sends the request elsewhere (RFC 9110, 15.4), and says where.
bool isRedirect(const CurlAnswer &answer);

/// What is to be sent after such an answer to `request`. Throws Error "network" on the way from https to
/// http.
UrlRequest redirected(UrlRequest request, const CurlAnswer &answer);

} // namespace kavrin
