// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace kavrin
{

/// What a client asks of the loopback server: the path and the query of its request target, percent-decoded,
/// in UTF-8. Method, version, headers and body do not count.
struct LoopbackRequest {
    std::string path;

    /// Item names and values. Items without "=" are left out; of several with one name the last one counts.
    std::map<std::string, std::string> query;

    /// Reads the bytes of one receive. None where they are not UTF-8 or their first line has no second word
    /// that is a URI reference.
    static std::optional<LoopbackRequest> parse(std::string_view received);
};

/// The number that the whole of `text` writes in decimal: an optional sign, digits with an optional point, an
/// optional exponent. None for anything else, and for numbers beyond the range of a double.
std::optional<double> decimalNumber(std::string_view text);

} // namespace kavrin
