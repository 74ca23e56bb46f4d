// SPDX-License-Identifier: MIT
#include "App/UrlHost.h"

#include <QRegularExpression>
#include <QUrl>

namespace kavrin
{

using namespace Qt::StringLiterals;

std::optional<QString> urlHost(const QString &url)
{
    // QUrl knows whether this is a URL, but returns the host in lower case.
    if (!QUrl(url, QUrl::StrictMode).isValid()) {
        return std::nullopt;
    }
    static const QRegularExpression authority(
        u"\\A[A-Za-z][A-Za-z0-9+.-]*://(?:[^/?#@]*@)?(\\[[^\\]]*\\]|[^/?#:]*)"_s);
    const QString host = authority.match(url).captured(1);
    return host.isEmpty() ? std::nullopt : std::optional(host);
}

} // namespace kavrin
