// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>

namespace kavrin
{

/// The host of a URL (RFC 3986) exactly as it is written, letter case included; none where the text is no URL
/// or has no host.
std::optional<QString> urlHost(const QString &url);

} // namespace kavrin
