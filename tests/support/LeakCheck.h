// SPDX-License-Identifier: MIT
#pragma once

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace kavrin::test
{

/// Looks for leaks now, where the build does at all, in place of the look at the end of the process: Qt's
/// threads free what is theirs while the process ends, and what they are about to free would count as a leak.
inline void checkForLeaks()
{
#ifdef __SANITIZE_ADDRESS__
    __lsan_do_leak_check();
#endif
}

} // namespace kavrin::test
