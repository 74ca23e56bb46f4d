// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace kavrin
{

/// Does what the request in `received`, the bytes of one receive, asks for, and returns the whole HTTP
/// answer.
///
/// Reads and writes the shared suite (Shared::d()), so a write may wait for another process that holds it.
/// Safe from any thread. The endpoints are described in docs/loopback.md.
std::string loopbackAnswer(std::string_view received);

} // namespace kavrin
