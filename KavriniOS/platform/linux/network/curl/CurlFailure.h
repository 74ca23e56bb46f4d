// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/network/curl/CurlExchange.h"

#include <QUrl>

namespace kavrin
{

/// An Error of the domain "network".
Error networkError(CURLcode code, const QString &description);

/// Throws unless `answer` is a whole answer of the service at `url`. A proxy's own answer does not count.
void checkAnswer(const CurlAnswer &answer, const QUrl &url, bool throughProxy);

} // namespace kavrin
