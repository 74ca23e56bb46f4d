// SPDX-License-Identifier: MIT
#include "platform/linux/network/curl/CurlExchange.h"

#include <new>
#include <utility>

namespace kavrin
{

namespace
{

/// How libcurl wants a header: without a value it takes a semicolon.
QByteArray line(const QByteArray &name, const QByteArray &value)
{
    return value.isEmpty() ? name + ';' : name + ": " + value;
}

QByteArray address(const QNetworkProxy &proxy)
{
    const QByteArray scheme = proxy.type() == QNetworkProxy::Socks5Proxy ? "socks5h://" : "http://";
    QUrl url;
    url.setHost(proxy.hostName());
    return scheme + url.host(QUrl::FullyEncoded).toLatin1() + ':' + QByteArray::number(proxy.port());
}

} // namespace

CurlExchange::CurlExchange(CurlTransfers &transfers, const UrlRequest &request, const QNetworkProxy &proxy)
    : m_transfers(transfers), m_handle(curl_easy_init())
{
    if (!m_handle) {
        throw std::bad_alloc();
    }
    setRequest(request);
    setProxy(proxy);
    setCallbacks();
    m_patience.setSingleShot(true);
    m_patience.setTimerType(Qt::PreciseTimer);
    m_patience.callOnTimeout([this] { end(CURLE_OPERATION_TIMEDOUT); });
    m_patience.start(request.timeout);
    m_transfers.add(m_handle, [this](CURLcode result) { end(result); });
}

CurlExchange::~CurlExchange()
{
    m_transfers.remove(m_handle);
    curl_easy_cleanup(m_handle);
    curl_slist_free_all(m_headers);
}

void CurlExchange::setRequest(const UrlRequest &request)
{
    curl_easy_setopt(m_handle, CURLOPT_URL, request.url.toEncoded(QUrl::RemoveFragment).constData());
    curl_easy_setopt(m_handle, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(m_handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(m_handle, CURLOPT_ACCEPT_ENCODING, ""); // all that libcurl can unpack
    if (request.method != "GET" || !request.body.isEmpty()) {
        curl_easy_setopt(m_handle, CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(request.body.size()));
        curl_easy_setopt(m_handle, CURLOPT_POSTFIELDS, request.body.constData());
    }
    curl_easy_setopt(m_handle, CURLOPT_CUSTOMREQUEST, request.method.constData());
    // Nothing is added that the request does not say, nor a pause before the body.
    for (const char *left : {"Content-Type:", "Expect:"}) {
        m_headers = curl_slist_append(m_headers, left);
    }
    for (const auto &[name, value] : request.headers) {
        m_headers = curl_slist_append(m_headers, line(name, value).constData());
    }
    curl_easy_setopt(m_handle, CURLOPT_HTTPHEADER, m_headers);
    // OpenSSL's own variable; libcurl leaves it to its users.
    if (const QByteArray authorities = qgetenv("SSL_CERT_FILE"); !authorities.isEmpty()) {
        curl_easy_setopt(m_handle, CURLOPT_CAINFO, authorities.constData());
    }
    // A name that is still being looked up keeps nobody waiting who has given up.
    curl_easy_setopt(m_handle, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(m_handle, CURLOPT_NOSIGNAL, 1L);
}

void CurlExchange::setProxy(const QNetworkProxy &proxy)
{
    if (proxy.type() == QNetworkProxy::NoProxy || proxy.hostName().isEmpty()) {
        curl_easy_setopt(m_handle, CURLOPT_PROXY, "");
        return;
    }
    curl_easy_setopt(m_handle, CURLOPT_PROXY, address(proxy).constData());
    curl_easy_setopt(m_handle, CURLOPT_NOPROXY, "");
    if (!proxy.user().isEmpty()) {
        curl_easy_setopt(m_handle, CURLOPT_PROXYUSERNAME, proxy.user().toUtf8().constData());
        curl_easy_setopt(m_handle, CURLOPT_PROXYPASSWORD, proxy.password().toUtf8().constData());
    }
}

void CurlExchange::setCallbacks()
{
    curl_easy_setopt(m_handle, CURLOPT_WRITEFUNCTION, &take);
    curl_easy_setopt(m_handle, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(m_handle, CURLOPT_HEADERFUNCTION, &takeHeader);
    curl_easy_setopt(m_handle, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(m_handle, CURLOPT_XFERINFOFUNCTION, &bytesMoved);
    curl_easy_setopt(m_handle, CURLOPT_XFERINFODATA, this);
    curl_easy_setopt(m_handle, CURLOPT_NOPROGRESS, 0L);
}

std::size_t CurlExchange::take(char *bytes, std::size_t size, std::size_t count, void *self)
{
    const std::size_t length = size * count;
    static_cast<CurlExchange *>(self)->m_answer.append(bytes, static_cast<qsizetype>(length));
    return length;
}

std::size_t CurlExchange::takeHeader(char *bytes, std::size_t size, std::size_t count, void *self)
{
    const std::size_t length = size * count;
    auto *exchange = static_cast<CurlExchange *>(self);
    exchange->m_patience.start();
    exchange->m_headIsWhole = QByteArrayView(bytes, static_cast<qsizetype>(length)).trimmed().isEmpty();
    return length;
}

int CurlExchange::bytesMoved(void *self, curl_off_t /*total*/, curl_off_t received, curl_off_t /*toSend*/,
                             curl_off_t sent)
{
    auto *exchange = static_cast<CurlExchange *>(self);
    if (std::exchange(exchange->m_moved, received + sent) != received + sent) {
        exchange->m_patience.start();
    }
    return 0;
}

void CurlExchange::end(CURLcode result)
{
    if (m_ended) {
        return;
    }
    m_ended = true;
    // libcurl is content with a head that was cut short.
    m_result = result == CURLE_OK && !m_headIsWhole ? CURLE_GOT_NOTHING : result;
    m_patience.stop();
    m_transfers.remove(m_handle);
    if (m_waiting) {
        m_waiting.resume(); // this may be gone now
    }
}

long CurlExchange::number(CURLINFO info) const
{
    long value = 0;
    curl_easy_getinfo(m_handle, info, &value);
    return value;
}

int CurlExchange::status() const
{
    return int(number(CURLINFO_RESPONSE_CODE));
}

int CurlExchange::proxyStatus() const
{
    return int(number(CURLINFO_HTTP_CONNECTCODE));
}

int CurlExchange::systemError() const
{
    return int(number(CURLINFO_OS_ERRNO));
}

QUrl CurlExchange::redirectTarget() const
{
    const char *target = nullptr;
    curl_easy_getinfo(m_handle, CURLINFO_REDIRECT_URL, &target);
    return target ? QUrl::fromEncoded(target) : QUrl();
}

} // namespace kavrin
