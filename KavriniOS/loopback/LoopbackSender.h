// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string_view>

namespace kavrin
{

/// Who has sent a request. A web page cannot connect by itself: its browser does, as a program of the user,
/// and says so in headers that no page can remove.
enum class LoopbackSender {
    Program, ///< a keyboard or another program that acts for itself
    Browser, ///< a browser, for a page or a link
    Unknown, ///< the headers did not fit into what was received
};

/// Judges by the bytes of one receive, which were not more than `limit`. Pure.
///
/// A browser sends `Origin` (RFC 6454), headers that begin with "Sec-Fetch-" (W3C Fetch Metadata), or, where
/// a page has made a name of its own point to this machine, that name as `Host`: one with a dot that is
/// neither an address nor below "localhost" (RFC 6761). It also reaches this machine under addresses for
/// which it sends none of these, such as "0.0.0.0"; these count as a browser's, too.
LoopbackSender loopbackSender(std::string_view received, std::size_t limit);

} // namespace kavrin
