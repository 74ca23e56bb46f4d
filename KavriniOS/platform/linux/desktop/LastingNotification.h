// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>

namespace kavrin
{

/// A notification that its server shows until it is withdrawn. A file of the session's folder keeps it, so
/// that Kavrin can withdraw the one of a process of its own that was killed.
struct LastingNotification {
    QString server; ///< its unique name on the bus: another server gives the number to something else
    uint number = 0;
};

/// The one that is kept, if there is one.
std::optional<LastingNotification> lastingNotification();

/// Keeps this one alone. Where it cannot be kept, it stays if this process is killed.
void keepLastingNotification(const std::optional<LastingNotification> &notification);

} // namespace kavrin
