// SPDX-License-Identifier: MIT
#include "loopback/LoopbackSender.h"

#include <QLatin1StringView>

#include <asio/error_code.hpp>
#include <asio/ip/address.hpp>

#include <algorithm>
#include <optional>
#include <string>

namespace kavrin
{

namespace
{

using namespace Qt::StringLiterals;

/// Takes the first line off `text`. None where it has not come to its end.
std::optional<QLatin1StringView> takeLine(QLatin1StringView &text)
{
    const qsizetype end = text.indexOf('\n'_L1);
    if (end < 0) {
        return std::nullopt;
    }
    const QLatin1StringView line = text.first(end).trimmed();
    text = text.sliced(end + 1);
    return line;
}

/// The address that `text` is; none for a name.
std::optional<asio::ip::address> addressIn(QLatin1StringView text)
{
    asio::error_code error;
    const asio::ip::address address =
        asio::ip::make_address(std::string(text.data(), std::size_t(text.size())), error);
    return error ? std::nullopt : std::optional(address);
}

/// A `Host` without its port, and an address without its brackets.
QLatin1StringView withoutPort(QLatin1StringView host)
{
    const bool hasBrackets = host.startsWith('['_L1);
    const QLatin1StringView name = hasBrackets ? host.sliced(1) : host;
    const qsizetype end = name.indexOf(hasBrackets ? ']'_L1 : ':'_L1);
    return end < 0 ? name : name.first(end);
}

/// Whether a browser sends this `Host` for a page, and none of the headers that only browsers send with it.
bool isPages(QLatin1StringView host)
{
    const QLatin1StringView name = withoutPort(host);
    if (const std::optional<asio::ip::address> address = addressIn(name)) {
        return address->is_unspecified() || (address->is_v6() && address->to_v6().is_v4_mapped());
    }
    return name.contains('.'_L1) && !name.endsWith(".localhost"_L1, Qt::CaseInsensitive);
}

bool isBrowsers(QLatin1StringView header)
{
    const qsizetype colon = std::max(header.indexOf(':'_L1), qsizetype(0));
    const QLatin1StringView name = header.first(colon);
    return name.startsWith("Sec-Fetch-"_L1, Qt::CaseInsensitive)
        || name.compare("Origin"_L1, Qt::CaseInsensitive) == 0
        || (name.compare("Host"_L1, Qt::CaseInsensitive) == 0 && isPages(header.sliced(colon + 1).trimmed()));
}

} // namespace

LoopbackSender loopbackSender(std::string_view received, std::size_t limit)
{
    QLatin1StringView text(received.data(), qsizetype(received.size()));
    takeLine(text); // the request line
    while (const std::optional<QLatin1StringView> header = takeLine(text)) {
        if (header->isEmpty()) {
            return LoopbackSender::Program;
        }
        if (isBrowsers(*header)) {
            return LoopbackSender::Browser;
        }
    }
    return received.size() < limit ? LoopbackSender::Program : LoopbackSender::Unknown;
}

} // namespace kavrin
