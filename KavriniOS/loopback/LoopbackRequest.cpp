// SPDX-License-Identifier: MIT
#include "loopback/LoopbackRequest.h"

#include "loopback/UriReference.h"

#include <QUtf8StringView>

#include <algorithm>
#include <charconv>
#include <system_error>

namespace kavrin
{

namespace
{

bool isUtf8(std::string_view text)
{
    return QUtf8StringView(text.data(), static_cast<qsizetype>(text.size())).isValidUtf8();
}

/// Takes the text up to `separator` off `text`, and the separator; all of it where there is no separator.
std::string_view takeUntil(std::string_view &text, char separator)
{
    const std::size_t end = std::min(text.find(separator), text.size());
    const std::string_view taken = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return taken;
}

/// Takes the next word off `line`, empty at its end.
std::string_view takeWord(std::string_view &line)
{
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    return takeUntil(line, ' ');
}

std::map<std::string, std::string> queryItems(std::string_view query)
{
    std::map<std::string, std::string> items;
    while (!query.empty()) {
        std::string_view value = takeUntil(query, '&');
        const bool hasValue = value.find('=') != std::string_view::npos;
        const std::string_view name = takeUntil(value, '=');
        if (hasValue) {
            items.insert_or_assign(percentDecoded(name), percentDecoded(value));
        }
    }
    return items;
}

} // namespace

std::optional<LoopbackRequest> LoopbackRequest::parse(std::string_view received)
{
    if (!isUtf8(received)) {
        return std::nullopt;
    }
    std::string_view line = received.substr(0, received.find("\r\n"));
    takeWord(line);
    const std::string_view target = takeWord(line);
    if (target.empty()) {
        return std::nullopt;
    }
    const std::optional<UriReference> reference = UriReference::parse(target);
    if (!reference) {
        return std::nullopt;
    }
    return LoopbackRequest{percentDecoded(reference->path), queryItems(reference->query.value_or(""))};
}

std::optional<double> decimalNumber(std::string_view text)
{
    // from_chars() knows no plus sign, but "nan" and "inf".
    const std::size_t signs = text.starts_with('+') || text.starts_with('-') ? 1 : 0;
    if (text.substr(signs).find_first_of("0123456789.") != 0) {
        return std::nullopt;
    }
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    double number = 0;
    const char *const begin = text.data();
    const char *const end = begin + text.size();
    const auto [parsed, error] = std::from_chars(begin, end, number);
    return error == std::errc() && parsed == end ? std::optional(number) : std::nullopt;
}

} // namespace kavrin
