// SPDX-License-Identifier: MIT
#pragma once

namespace kavrin::ctl
{

/// Makes the running application read its settings again, and waits until it has. Does nothing if none runs
/// on the session bus, and gives up after a second.
void tellOfSettings();

} // namespace kavrin::ctl
