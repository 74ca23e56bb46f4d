// SPDX-License-Identifier: MIT
#include "loopback/UriReference.h"

#include <QHostAddress>
#include <QUtf8StringView>

#include <algorithm>
#include <charconv>

// Names in this file are those of the grammar in RFC 3986, appendix A.

namespace kavrin
{

namespace
{

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

bool isLetter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool isHexDigit(char character)
{
    return isDigit(character) || (character >= 'a' && character <= 'f')
        || (character >= 'A' && character <= 'F');
}

bool isOneOf(char character, std::string_view characters)
{
    return characters.find(character) != std::string_view::npos;
}

bool isUnreservedOrSubDelimiter(char character)
{
    return isLetter(character) || isDigit(character) || isOneOf(character, "-._~!$&'()*+,;=");
}

bool isPercentEncoding(std::string_view text)
{
    return text.size() >= 3 && text[0] == '%' && isHexDigit(text[1]) && isHexDigit(text[2]);
}

/// Whether `text` has only characters that every part may have, those that this part may have as well, and
/// whole percent-encodings.
bool isPart(std::string_view text, std::string_view alsoAllowed)
{
    while (!text.empty()) {
        if (isUnreservedOrSubDelimiter(text.front()) || isOneOf(text.front(), alsoAllowed)) {
            text.remove_prefix(1);
        } else if (isPercentEncoding(text)) {
            text.remove_prefix(3);
        } else {
            return false;
        }
    }
    return true;
}

bool isScheme(std::string_view text)
{
    return !text.empty() && isLetter(text.front())
        && std::all_of(text.begin(), text.end(), [](char character) {
               return isLetter(character) || isDigit(character) || isOneOf(character, "+-.");
           });
}

bool isIpv6Address(std::string_view text)
{
    const bool hasItsCharacters = std::all_of(text.begin(), text.end(), [](char character) {
        return isHexDigit(character) || isOneOf(character, ":.");
    });
    return hasItsCharacters
        && QHostAddress(QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()))).protocol()
        == QAbstractSocket::IPv6Protocol;
}

bool isIpvFuture(std::string_view text)
{
    const std::size_t dot = text.find('.');
    if (dot == std::string_view::npos || dot < 2 || dot + 1 == text.size() || !isOneOf(text.front(), "vV")) {
        return false;
    }
    const std::string_view version = text.substr(1, dot - 1);
    const std::string_view address = text.substr(dot + 1);
    return std::all_of(version.begin(), version.end(), isHexDigit)
        && std::all_of(address.begin(), address.end(), [](char character) {
               return isUnreservedOrSubDelimiter(character) || character == ':';
           });
}

/// Whether `text` is empty or a colon and digits, or none.
bool isPortAfterColon(std::string_view text)
{
    return text.empty() || (text.front() == ':' && std::all_of(text.begin() + 1, text.end(), isDigit));
}

bool isHostAndPort(std::string_view text)
{
    if (text.starts_with('[')) {
        const std::size_t bracket = text.find(']');
        if (bracket == std::string_view::npos) {
            return false;
        }
        const std::string_view literal = text.substr(1, bracket - 1);
        return (isIpv6Address(literal) || isIpvFuture(literal)) && isPortAfterColon(text.substr(bracket + 1));
    }
    const std::size_t colon = std::min(text.find(':'), text.size());
    return isPart(text.substr(0, colon), "") && isPortAfterColon(text.substr(colon));
}

bool isAuthority(std::string_view text)
{
    const std::size_t at = text.find('@');
    if (at == std::string_view::npos) {
        return isHostAndPort(text);
    }
    return isPart(text.substr(0, at), ":") && isHostAndPort(text.substr(at + 1));
}

/// Takes what follows the first `separator` off `text`; none where there is no separator.
std::optional<std::string_view> takeAfter(std::string_view &text, char separator)
{
    const std::size_t position = text.find(separator);
    if (position == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view after = text.substr(position + 1);
    text = text.substr(0, position);
    return after;
}

/// Takes the scheme and its colon off `text`. False where what stands before the first colon is no scheme:
/// the first segment of a relative path may not have a colon.
bool takeScheme(std::string_view &text)
{
    const std::size_t end = text.find_first_of(":/");
    if (end == std::string_view::npos || text[end] == '/') {
        return true;
    }
    const bool valid = isScheme(text.substr(0, end));
    text.remove_prefix(end + 1);
    return valid;
}

/// Takes the authority and its two slashes off `text`. False where it is malformed.
bool takeAuthority(std::string_view &text)
{
    if (!text.starts_with("//")) {
        return true;
    }
    text.remove_prefix(2);
    const std::size_t end = std::min(text.find('/'), text.size());
    const bool valid = isAuthority(text.substr(0, end));
    text.remove_prefix(end);
    return valid;
}

} // namespace

std::optional<UriReference> UriReference::parse(std::string_view text)
{
    const std::optional<std::string_view> fragment = takeAfter(text, '#');
    const std::optional<std::string_view> query = takeAfter(text, '?');
    if (!takeScheme(text) || !takeAuthority(text)) {
        return std::nullopt;
    }
    const bool valid =
        isPart(text, ":@/") && isPart(query.value_or(""), ":@/?") && isPart(fragment.value_or(""), ":@/?");
    return valid ? std::optional(UriReference{text, query}) : std::nullopt;
}

std::string percentDecoded(std::string_view part)
{
    std::string decoded;
    decoded.reserve(part.size());
    while (!part.empty()) {
        if (isPercentEncoding(part)) {
            unsigned char byte = 0;
            std::from_chars(part.data() + 1, part.data() + 3, byte, 16);
            decoded.push_back(static_cast<char>(byte));
            part.remove_prefix(3);
        } else {
            decoded.push_back(part.front());
            part.remove_prefix(1);
        }
    }
    const QUtf8StringView text(decoded.data(), static_cast<qsizetype>(decoded.size()));
    return text.isValidUtf8() ? decoded : std::string();
}

} // namespace kavrin
