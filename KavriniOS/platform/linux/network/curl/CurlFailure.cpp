// SPDX-License-Identifier: MIT
#include "platform/linux/network/curl/CurlFailure.h"

#include <algorithm>
#include <cerrno>
#include <span>

namespace kavrin
{

namespace
{

using namespace Qt::StringLiterals;

constexpr int proxyAuthenticationRequired = 407;

// Sentences for the user, with a place for the host.
constexpr QStringView cutShort = u"%1 closed the connection before its whole answer had come.";
constexpr QStringView late = u"%1 did not answer in time.";
constexpr QStringView unknown =
    u"No server named %1 was found; check the address and the network connection.";
constexpr QStringView unknownProxy = u"The proxy on the way to %1 was not found.";
constexpr QStringView failedProxy = u"The proxy on the way to %1 failed.";
constexpr QStringView distrusted =
    u"No secure connection to %1 could be made; its certificate may be unknown, "
    "expired or made out to another name.";
constexpr QStringView noTls =
    u"No secure connection to %1 could be made: nothing there speaks HTTPS, or only an "
    "outdated version of it. Check the address and its port.";
constexpr QStringView noAuthorities =
    u"No secure connection to %1 could be made: the certificates that this system trusts cannot be read. "
    "Install the package ca-certificates, or mend SSL_CERT_FILE.";
constexpr QStringView strange = u"The answer of %1 could not be understood.";
constexpr QStringView tooLarge =
    u"The answer of %1 is too large. It may have 4 MB, and 100 kB of headers before that.";

constexpr struct Failure {
    int code;
    QStringView words;
    QStringView ofProxy = words; ///< for an exchange through a proxy
} results[] = {
    {CURLE_GOT_NOTHING, cutShort},
    {CURLE_PARTIAL_FILE, cutShort},
    {CURLE_RECV_ERROR, cutShort},
    {CURLE_SEND_ERROR, cutShort},
    {CURLE_COULDNT_RESOLVE_HOST, unknown, unknownProxy}, // newer versions use either code for a proxy's name
    {CURLE_COULDNT_RESOLVE_PROXY, unknown, unknownProxy},
    {CURLE_PROXY, failedProxy},
    {CURLE_OPERATION_TIMEDOUT, late},
    {CURLE_PEER_FAILED_VERIFICATION, distrusted},
    {CURLE_SSL_CONNECT_ERROR, noTls},
    {CURLE_SSL_ISSUER_ERROR, distrusted},
    {CURLE_SSL_CACERT_BADFILE, noAuthorities},
    {CURLE_BAD_CONTENT_ENCODING, strange},
    {CURLE_HTTP2, strange},
    {CURLE_HTTP2_STREAM, strange},
    {CURLE_UNSUPPORTED_PROTOCOL, strange},
    {CURLE_WEIRD_SERVER_REPLY, strange},
    {CURLE_FILESIZE_EXCEEDED, tooLarge},
    {CURLE_ABORTED_BY_CALLBACK, u"The exchange with %1 was given up."},
};

/// What the user reads for each errno of a connection that could not be made.
constexpr Failure connections[] = {
    {ECONNREFUSED, u"The connection to %1 was refused.",
     u"The connection to the proxy on the way to %1 was refused."},
    {ETIMEDOUT, late, u"The proxy on the way to %1 did not answer in time."},
};
constexpr Failure otherConnection{
    0, u"%1 cannot be reached; check the network connection.",
    u"The proxy on the way to %1 cannot be reached; check the network connection."};

Failure find(std::span<const Failure> failures, int code, const Failure &other)
{
    const auto known = std::ranges::find(failures, code, &Failure::code);
    return known != failures.end() ? *known : other;
}

QString description(const CurlAnswer &answer, bool throughProxy)
{
    const int refusal = answer.result == CURLE_OK ? answer.status : answer.proxyStatus;
    if (refusal == proxyAuthenticationRequired) {
        return u"The proxy on the way to %1 asks for a name and a password."_s;
    }
    if (refusal >= 300) {
        return failedProxy.toString();
    }
    const QString reason = QString::fromUtf8(curl_easy_strerror(answer.result));
    const QString other = u"The connection to %1 failed: "_s + reason + u'.';
    const Failure failure = answer.result == CURLE_COULDNT_CONNECT
        ? find(connections, answer.systemError, otherConnection)
        : find(results, answer.result, {0, other});
    return (throughProxy ? failure.ofProxy : failure.words).toString();
}

} // namespace

Error networkError(CURLcode code, const QString &description)
{
    return {u"network"_s, code, description};
}

void checkAnswer(const CurlAnswer &answer, const QUrl &url, bool throughProxy)
{
    const bool isRefusedByProxy = throughProxy && answer.status == proxyAuthenticationRequired;
    if (answer.result != CURLE_OK || isRefusedByProxy) {
        throw networkError(isRefusedByProxy ? CURLE_PROXY : answer.result,
                           description(answer, throughProxy).arg(url.host()));
    }
}

} // namespace kavrin
