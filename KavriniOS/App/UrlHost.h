// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>

namespace kavrin
{

/// The host of a URL (RFC 3986), in the letter case in which it is written. None if the text is no URL or has
/// no host.
std::optional<QString> urlHost(const QString &url);

} // namespace kavrin
