// SPDX-License-Identifier: MIT
#include "fuzz/FuzzTarget.h"

#include <cstdio>
#include <cstdlib>

namespace kavrin::test
{

void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "Does not hold: %s.\n", what);
        std::abort();
    }
}

} // namespace kavrin::test
