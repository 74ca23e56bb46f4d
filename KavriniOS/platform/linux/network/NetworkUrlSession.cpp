// SPDX-License-Identifier: MIT
#include "platform/linux/network/NetworkUrlSession.h"

#include <QCoroNetworkReply>
#include <QNetworkAccessManager>
#include <QNetworkProxyFactory>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QScopedPointer>

#include <algorithm>
#include <array>

namespace kavrin
{

namespace
{

using namespace Qt::StringLiterals;

/// A reply is let go from within its own finished() signal, where it must not be deleted at once.
using ReplyPointer = QScopedPointer<QNetworkReply, QScopedPointerDeleteLater>;

constexpr int maximumRedirects = 16;

/// Qt asks for the system's proxies only where the whole application is told to.
class SystemProxies final : public QNetworkProxyFactory
{
public:
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery &query) override
    {
        return systemProxyForQuery(query);
    }
};

Error networkError(QNetworkReply::NetworkError code, const QString &description)
{
    return {u"network"_s, code, description};
}

void checkAddress(const QUrl &url)
{
    if (url.scheme() != "http"_L1 && url.scheme() != "https"_L1) {
        throw networkError(QNetworkReply::ProtocolUnknownError,
                           u"Only addresses that begin with http:// or https:// can be reached."_s);
    }
    if (url.host().isEmpty()) {
        throw networkError(QNetworkReply::HostNotFoundError, u"The address names no server."_s);
    }
}

/// A line break in a value would begin a header of its own.
void checkHeaders(const UrlRequest &request)
{
    for (const auto &[name, value] : request.headers) {
        if (std::ranges::any_of(value, [](char c) { return c == '\r' || c == '\n' || c == '\0'; })) {
            throw networkError(QNetworkReply::ProtocolInvalidOperationError,
                               u"The request's %1 header holds a line break and cannot be sent."_s.arg(
                                   QString::fromLatin1(name)));
        }
    }
}

QNetworkRequest networkRequest(const UrlRequest &request)
{
    QNetworkRequest result(request.url);
    result.setTransferTimeout(static_cast<int>(request.timeout.count()));
    result.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    result.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    result.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    result.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    result.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    for (const auto &[name, value] : request.headers) {
        result.setRawHeader(name, value);
    }
    return result;
}

QNetworkReply *send(QNetworkAccessManager &manager, const UrlRequest &request)
{
    const QNetworkRequest prepared = networkRequest(request);
    if (request.method == "GET") {
        return manager.get(prepared);
    }
    if (request.method == "POST") {
        return manager.post(prepared, request.body);
    }
    return manager.sendCustomRequest(prepared, request.method, request.body);
}

int statusOf(const QNetworkReply &reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

/// Qt reports a status of 400 and above as an error, too, though the answer is whole.
bool isWholeAnswer(const QNetworkReply &reply)
{
    switch (reply.error()) {
    case QNetworkReply::NoError:
        return true;
    case QNetworkReply::ProtocolUnknownError:
    case QNetworkReply::ProtocolFailure:
        return false;
    default:
        return statusOf(reply) >= 400 && reply.error() > QNetworkReply::UnknownProxyError;
    }
}

QString failureDescription(QNetworkReply::NetworkError error)
{
    switch (error) {
    case QNetworkReply::ConnectionRefusedError:
        return u"The connection to %1 was refused."_s;
    case QNetworkReply::RemoteHostClosedError:
        return u"%1 closed the connection before its whole answer had come."_s;
    case QNetworkReply::HostNotFoundError:
        return u"No server named %1 was found; check the address and the network connection."_s;
    case QNetworkReply::TimeoutError:
    case QNetworkReply::OperationCanceledError:
        return u"%1 did not answer in time."_s;
    case QNetworkReply::SslHandshakeFailedError:
        return u"No secure connection to %1 could be made; its certificate may be unknown, expired or made "
               u"out "
               u"to another name."_s;
    case QNetworkReply::ProxyConnectionRefusedError:
        return u"The connection to the proxy on the way to %1 was refused."_s;
    case QNetworkReply::ProxyConnectionClosedError:
        return u"The proxy on the way to %1 closed the connection."_s;
    case QNetworkReply::ProxyNotFoundError:
        return u"The proxy on the way to %1 was not found."_s;
    case QNetworkReply::ProxyTimeoutError:
        return u"The proxy on the way to %1 did not answer in time."_s;
    case QNetworkReply::ProxyAuthenticationRequiredError:
        return u"The proxy on the way to %1 asks for a name and a password."_s;
    case QNetworkReply::UnknownProxyError:
        return u"The proxy on the way to %1 failed."_s;
    case QNetworkReply::ProtocolFailure:
    case QNetworkReply::UnknownContentError:
        return u"The answer of %1 could not be understood."_s;
    default:
        return u"The connection to %1 failed."_s;
    }
}

Error failure(const QNetworkReply &reply)
{
    const QString host = reply.url().host();
    // What has no number of its own comes from the socket, whose text says more and knows no address.
    const QString description = reply.error() == QNetworkReply::UnknownNetworkError
        ? u"The connection to %1 failed: %2."_s.arg(host, reply.errorString())
        : failureDescription(reply.error()).arg(host);
    return networkError(reply.error(), description);
}

/// Where the answer sends the request, or an empty address where it is the last one.
QUrl redirectTarget(const QNetworkReply &reply)
{
    static constexpr std::array followed{301, 302, 303, 307, 308};
    if (std::ranges::find(followed, statusOf(reply)) == followed.end()) {
        return {};
    }
    const QUrl location = reply.attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    return location.isEmpty() ? QUrl() : reply.url().resolved(location);
}

bool haveSameOrigin(const QUrl &a, const QUrl &b)
{
    const int defaultPort = a.scheme() == "https"_L1 ? 443 : 80;
    return a.scheme() == b.scheme() && a.host() == b.host() && a.port(defaultPort) == b.port(defaultPort);
}

void removeHeader(UrlRequest &request, const QByteArray &name)
{
    std::erase_if(request.headers, [&name](const auto &header) {
        return header.first.compare(name, Qt::CaseInsensitive) == 0;
    });
}

bool becomesGet(int status, const QByteArray &method)
{
    return (status == 303 && method != "HEAD") || ((status == 301 || status == 302) && method == "POST");
}

UrlRequest redirected(UrlRequest request, int status, const QUrl &target)
{
    checkAddress(target);
    if (request.url.scheme() == "https"_L1 && target.scheme() == "http"_L1) {
        throw networkError(QNetworkReply::InsecureRedirectError,
                           u"%1 sends on to an address that is not secure."_s.arg(request.url.host()));
    }
    if (!haveSameOrigin(request.url, target)) {
        removeHeader(request, "Authorization");
    }
    if (becomesGet(status, request.method)) {
        request.method = "GET";
        request.body.clear();
        removeHeader(request, "Content-Type");
    }
    request.url = target;
    return request;
}

/// Qt does not always tell when the status is an error already. The length of a body that it has unpacked is
/// unknown.
bool isCutShort(const QNetworkReply &reply)
{
    const QVariant length = reply.header(QNetworkRequest::ContentLengthHeader);
    return length.isValid() && reply.bytesAvailable() < length.toLongLong();
}

} // namespace

NetworkUrlSession::NetworkUrlSession() = default;

NetworkUrlSession::~NetworkUrlSession()
{
    m_closing = true;
    // A reply that is deleted before it has finished would leave its coroutine waiting for ever.
    const auto replies = m_manager ? m_manager->findChildren<QNetworkReply *>() : QList<QNetworkReply *>();
    for (QNetworkReply *reply : replies) {
        reply->abort();
    }
}

QNetworkAccessManager &NetworkUrlSession::manager()
{
    if (!m_manager) {
        m_manager = std::make_unique<QNetworkAccessManager>();
        m_manager->setProxyFactory(new SystemProxies);
    }
    return *m_manager;
}

QCoro::Task<QByteArray> NetworkUrlSession::data(UrlRequest request)
{
    checkAddress(request.url);
    checkHeaders(request);
    for (int redirects = 0; redirects <= maximumRedirects; ++redirects) {
        const ReplyPointer reply(send(manager(), request));
        co_await reply.get();
        if (m_closing) {
            throw networkError(QNetworkReply::OperationCanceledError,
                               u"The exchange with %1 was given up."_s.arg(request.url.host()));
        }
        if (!isWholeAnswer(*reply)) {
            throw failure(*reply);
        }
        if (isCutShort(*reply)) {
            throw networkError(
                QNetworkReply::RemoteHostClosedError,
                failureDescription(QNetworkReply::RemoteHostClosedError).arg(request.url.host()));
        }
        const QUrl target = redirectTarget(*reply);
        if (target.isEmpty()) {
            co_return reply->readAll();
        }
        request = redirected(std::move(request), statusOf(*reply), target);
    }
    throw networkError(QNetworkReply::TooManyRedirectsError,
                       u"%1 was reached by too many redirects."_s.arg(request.url.host()));
}

} // namespace kavrin
