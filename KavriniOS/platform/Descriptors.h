// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

// The descriptors of this process: what stands for its open files, sockets and the like. Each function may be
// called from any thread, and none of them fails.

namespace kavrin
{

/// How many descriptors may be open at once.
std::size_t descriptorLimit();

/// Raises the limit to `wanted`, or as far towards it as the system permits. Never lowers it.
void raiseDescriptorLimit(std::size_t wanted);

/// Closes `descriptor` in programs that this process starts. One that outlives it would otherwise hold a port
/// or a connection.
void setCloseOnExec(int descriptor);

} // namespace kavrin
