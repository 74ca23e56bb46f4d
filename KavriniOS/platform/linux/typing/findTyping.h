// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"
#include "platform/Typing.h"
#include "platform/linux/typing/PortalKeyboard.h"

#include <memory>

namespace kavrin
{

/// The first way of typing that works now, in the order: the virtual keyboard of a Wayland compositor, its
/// desktop's portal, XTEST of an X11 server. Xwayland does not count, because only some windows are its own.
/// The failure says why there is none, and what to do. `keyboard` must outlive the way. Main thread only.
Result<std::unique_ptr<Typing>> findTyping(PortalKeyboard &keyboard);

} // namespace kavrin
