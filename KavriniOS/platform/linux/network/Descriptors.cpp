// SPDX-License-Identifier: MIT
#include "platform/Descriptors.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <algorithm>

namespace kavrin
{

namespace
{

rlimit limits()
{
    rlimit limits = {};
    ::getrlimit(RLIMIT_NOFILE, &limits);
    return limits;
}

} // namespace

std::size_t descriptorLimit()
{
    return limits().rlim_cur;
}

void raiseDescriptorLimit(std::size_t wanted)
{
    rlimit raised = limits();
    raised.rlim_cur = std::max(raised.rlim_cur, std::min(raised.rlim_max, rlim_t(wanted)));
    ::setrlimit(RLIMIT_NOFILE, &raised);
}

void setCloseOnExec(int descriptor)
{
    ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

} // namespace kavrin
