// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

/// What every target defines: hands one input to the code under test, and returns 0. It fails by ending the
/// process: through require(), a sanitizer, or a crash. One process calls it with many inputs, in a private
/// home, so it leaves nothing behind that the next call would see.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace kavrin::test
{

/// Ends the process with a message unless a thing holds that must hold for every input.
void require(bool holds, const char *what);

} // namespace kavrin::test
