// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/network/curl/CurlExchange.h"

namespace kavrin
{

/// Whether the answer redirects the request (RFC 9110, 15.4) and names the address.
bool isRedirect(const CurlAnswer &answer);

/// The request that follows such an answer to `request`. Throws Error "network" for a redirect from https to
/// http.
UrlRequest redirected(UrlRequest request, const CurlAnswer &answer);

} // namespace kavrin
