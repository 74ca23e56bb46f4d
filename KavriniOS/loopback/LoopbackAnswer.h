// SPDX-License-Identifier: MIT
#pragma once

#include "loopback/LoopbackRequest.h"

#include <optional>
#include <string>

namespace kavrin
{

/// Does what the request asks for, and returns the whole HTTP answer. No request is one that makes no sense.
///
/// Reads and writes the shared suite (Shared::d()). Safe from any thread. The endpoints are described in
/// docs/loopback.md.
std::string loopbackAnswer(const std::optional<LoopbackRequest> &request);

/// Whether the answer may have to wait, for as long as another process keeps the suite from being written.
bool mayWait(const std::optional<LoopbackRequest> &request);

} // namespace kavrin
