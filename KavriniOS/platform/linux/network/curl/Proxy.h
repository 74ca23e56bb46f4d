// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QUrl>

namespace kavrin
{

/// The proxy on the way to `url`, in a form that CURLOPT_PROXY takes; empty if there is none.
/// NetworkUrlSession says where it is looked up.
QByteArray proxyFor(const QUrl &url);

} // namespace kavrin
