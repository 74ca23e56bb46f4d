// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/CoreFiles.h"

#include <sys/resource.h>

namespace kavrin
{

void leaveNoCoreFiles()
{
    const rlimit none = {.rlim_cur = 0, .rlim_max = 0};
    setrlimit(RLIMIT_CORE, &none);
}

} // namespace kavrin
