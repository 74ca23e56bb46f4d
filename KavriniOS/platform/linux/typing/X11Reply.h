// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <memory>

namespace kavrin
{

struct Free {
    void operator()(void *memory) const { std::free(memory); }
};

/// A reply or an event of libxcb, whose memory the caller frees. Null where there is none.
template <typename T> struct X11Reply : std::unique_ptr<T, Free> {
    explicit X11Reply(T *reply) : std::unique_ptr<T, Free>(reply) { }
};

} // namespace kavrin
