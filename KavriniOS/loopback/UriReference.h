// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kavrin
{

/// A URI reference as RFC 3986 defines it, absolute ("http://localhost/get?x=1") or relative ("/get?x=1").
///
/// The parts are still percent-encoded, and they are views of the text that was parsed.
struct UriReference {
    std::string_view path;
    std::optional<std::string_view> query; ///< none without a "?"

    /// None for a text that the grammar of RFC 3986 forbids, such as one with a blank, with characters
    /// outside ASCII or with a "%" that no two hexadecimal digits follow.
    static std::optional<UriReference> parse(std::string_view text);
};

/// Decodes a part of a URI reference: "%20" is a blank, "+" stays "+". A part that does not hold UTF-8 when
/// decoded gives the empty text.
std::string percentDecoded(std::string_view part);

} // namespace kavrin
