// SPDX-License-Identifier: MIT
#include "platform/linux/network/curl/CurlExchange.h"

#include <QUrl>

#include <algorithm>
#include <chrono>
#include <span>

namespace kavrin
{

namespace
{

using Clock = std::chrono::steady_clock;
using Transfer = std::unique_ptr<CURL, CurlRelease<curl_easy_cleanup>>;
using Headers = std::unique_ptr<curl_slist, CurlRelease<curl_slist_free_all>>;

constexpr qsizetype largestBody = 4'000'000;
constexpr qsizetype largestHead = 100'000; // libcurl takes a little more of one line

struct Received {
    qsizetype headSize = 0; ///< of all heads, and of the lines after the body
    bool headIsWhole = false;
    bool isTooLarge = false;
    QByteArray body;
};

/// Takes some of the unpacked body. Any other result than its length ends the exchange.
std::size_t takeBody(char *bytes, std::size_t size, std::size_t count, void *into)
{
    const std::size_t length = size * count;
    auto *received = static_cast<Received *>(into);
    received->isTooLarge = qsizetype(length) > largestBody - received->body.size();
    if (received->isTooLarge) {
        return 0;
    }
    received->body.append(bytes, qsizetype(length));
    return length;
}

/// Takes a line of a head. The line may also belong to a proxy's answer before the real one, or follow the
/// body.
std::size_t takeHeader(char *bytes, std::size_t size, std::size_t count, void *into)
{
    const std::size_t length = size * count;
    const QByteArrayView line(bytes, qsizetype(length));
    auto *received = static_cast<Received *>(into);
    bool &isWhole = received->headIsWhole;
    isWhole = line.trimmed().isEmpty() || (isWhole && !line.startsWith("HTTP/"));
    received->headSize += qsizetype(length);
    received->isTooLarge = received->headSize > largestHead;
    return received->isTooLarge ? 0 : length;
}

Headers headersOf(const UrlRequest &request)
{
    Headers headers;
    const auto append = [&](const char *line) { headers.reset(curl_slist_append(headers.release(), line)); };
    // libcurl must not add headers that the request does not have, nor a pause before the body.
    append("Content-Type:");
    append("Expect:");
    for (const auto &[name, value] : request.headers) {
        append((name + ": " + value).constData());
    }
    return headers;
}

/// Whether libcurl itself refused a line of the answer because of its length.
bool isTooLongALine(CURLcode result, const Received &received)
{
    constexpr int tooLarge = 100; // CURLE_TOO_LARGE, which only newer versions have
    return received.headSize > 0 && (result == CURLE_OUT_OF_MEMORY || int(result) == tooLarge);
}

CURLcode resultOf(CURLcode result, const Received &received)
{
    if (received.isTooLarge || isTooLongALine(result, received)) {
        return CURLE_FILESIZE_EXCEEDED;
    }
    // libcurl accepts a head that was cut short.
    return result == CURLE_OK && !received.headIsWhole ? CURLE_GOT_NOTHING : result;
}

/// Its server as QUrl reads it, so that nobody reads another one there. QUrl would decode the %7E of the
/// rest. Of that, only bytes that no address holds are escaped (RFC 3986, 2.1).
QByteArray addressToSend(const QByteArray &url)
{
    constexpr auto allButServer = QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment;
    QByteArray address = QUrl::fromEncoded(url).toEncoded(allButServer);
    const QByteArrayView afterScheme = QByteArrayView(url).sliced(url.indexOf("//") + 2);
    const auto target = std::find_first_of(afterScheme.begin(), afterScheme.end(), "/?#", "/?#" + 3);
    for (const char byte : std::span(target, std::find(target, afterScheme.end(), '#'))) {
        const bool isPlain = byte > ' ' && byte <= '~';
        address += isPlain ? QByteArray(1, byte) : '%' + QByteArray(1, byte).toHex().toUpper();
    }
    return address;
}

void setRequest(CURL *transfer, const UrlRequest &request)
{
    curl_easy_setopt(transfer, CURLOPT_URL, addressToSend(request.url).constData());
    curl_easy_setopt(transfer, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(transfer, CURLOPT_ACCEPT_ENCODING, ""); // all encodings that libcurl can unpack
    if (request.method != "GET" || !request.body.isEmpty()) {
        curl_easy_setopt(transfer, CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(request.body.size()));
        curl_easy_setopt(transfer, CURLOPT_POSTFIELDS, request.body.constData());
    }
    curl_easy_setopt(transfer, CURLOPT_CUSTOMREQUEST, request.method.constData());
    // OpenSSL itself reads this variable; libcurl leaves that to its users.
    if (const QByteArray authorities = qgetenv("SSL_CERT_FILE"); !authorities.isEmpty()) {
        curl_easy_setopt(transfer, CURLOPT_CAINFO, authorities.constData());
    }
}

void setProxy(CURL *transfer, const QByteArray &proxy)
{
    curl_easy_setopt(transfer, CURLOPT_PROXY, proxy.constData());
    curl_easy_setopt(transfer, CURLOPT_NOPROXY, "");
}

template <typename Value> Value get(CURL *transfer, CURLINFO info)
{
    Value value{};
    curl_easy_getinfo(transfer, info, &value);
    return value;
}

/// Counts how long a connection has been silent and how long its answer has been coming, and how long both
/// may still be so.
class Patience
{
public:
    explicit Patience(const UrlRequest &request) : m_silence(request.timeout), m_answer(request.answerTimeout)
    {
    }

    std::chrono::milliseconds left(CURL *transfer)
    {
        const Clock::time_point now = Clock::now();
        const curl_off_t moved = get<curl_off_t>(transfer, CURLINFO_SIZE_UPLOAD_T)
            + get<curl_off_t>(transfer, CURLINFO_SIZE_DOWNLOAD_T) + get<long>(transfer, CURLINFO_HEADER_SIZE);
        if (std::exchange(m_moved, moved) != moved) {
            m_lastMove = now;
        }
        if (!isAnswered(transfer)) {
            m_answerEnd = Clock::time_point::max();
        } else if (m_answerEnd == Clock::time_point::max()) {
            m_answerEnd = now + m_answer;
        }
        return std::chrono::ceil<std::chrono::milliseconds>(std::min(m_lastMove + m_silence, m_answerEnd)
                                                            - now);
    }

private:
    /// Whether the answer has begun: that of the proxy to CONNECT, until the request itself can be sent.
    static bool isAnswered(CURL *transfer)
    {
        return get<curl_off_t>(transfer, CURLINFO_PRETRANSFER_TIME_T) > 0
            ? get<curl_off_t>(transfer, CURLINFO_STARTTRANSFER_TIME_T) > 0
            : get<long>(transfer, CURLINFO_HEADER_SIZE) > 0;
    }

    std::chrono::milliseconds m_silence;
    std::chrono::milliseconds m_answer;
    Clock::time_point m_lastMove = Clock::now();
    Clock::time_point m_answerEnd = Clock::time_point::max(); ///< at the latest, once the answer has begun
    curl_off_t m_moved = 0; ///< bytes, either way, until m_lastMove
};

CURLcode waitForEnd(CURL *transfer, CURLM *connections, Patience patience, const std::stop_token &givenUp)
{
    for (int running = 0;;) {
        curl_multi_perform(connections, &running);
        if (running == 0) {
            const CURLMsg *message = curl_multi_info_read(connections, &running);
            return message ? message->data.result : CURLE_FAILED_INIT;
        }
        if (givenUp.stop_requested()) {
            return CURLE_ABORTED_BY_CALLBACK;
        }
        const auto left = patience.left(transfer);
        if (left.count() <= 0) {
            return CURLE_OPERATION_TIMEDOUT;
        }
        curl_multi_poll(connections, nullptr, 0, int(left.count()), nullptr);
    }
}

} // namespace

CurlAnswer exchange(const UrlRequest &request, const QByteArray &proxy, CURLM *connections,
                    const std::stop_token &givenUp)
{
    Received received;
    const Headers headers = headersOf(request);
    const Transfer transfer(curl_easy_init());
    setRequest(transfer.get(), request);
    setProxy(transfer.get(), proxy);
    curl_easy_setopt(transfer.get(), CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(transfer.get(), CURLOPT_WRITEFUNCTION, &takeBody);
    curl_easy_setopt(transfer.get(), CURLOPT_WRITEDATA, &received);
    curl_easy_setopt(transfer.get(), CURLOPT_HEADERFUNCTION, &takeHeader);
    curl_easy_setopt(transfer.get(), CURLOPT_HEADERDATA, &received);
    // After the exchange is given up, nobody waits for a name that is still being looked up.
    curl_easy_setopt(transfer.get(), CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(transfer.get(), CURLOPT_NOSIGNAL, 1L);

    const std::stop_callback wake(givenUp, [connections] { curl_multi_wakeup(connections); });
    curl_multi_add_handle(connections, transfer.get());
    const CURLcode result = waitForEnd(transfer.get(), connections, Patience(request), givenUp);
    curl_multi_remove_handle(connections, transfer.get());
    return {.result = resultOf(result, received),
            .status = int(get<long>(transfer.get(), CURLINFO_RESPONSE_CODE)),
            .proxyStatus = int(get<long>(transfer.get(), CURLINFO_HTTP_CONNECTCODE)),
            .systemError = int(get<long>(transfer.get(), CURLINFO_OS_ERRNO)),
            .redirectTarget = get<const char *>(transfer.get(), CURLINFO_REDIRECT_URL),
            .body = received.body};
}

} // namespace kavrin
