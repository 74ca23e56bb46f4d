// SPDX-License-Identifier: MIT
#include "platform/Descriptors.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstddef>

namespace kavrin
{

TEST(Descriptors, TheLimitIsRaisedAsFarAsTheSystemPermitsAndNeverLowered)
{
    struct Row {
        rlim_t soft;
        rlim_t hard;
        std::size_t wanted;
        std::size_t limit;
    };
    // In this order, as a hard limit cannot be raised again.
    for (const Row &row :
         {Row{64, 5000, 4096, 4096}, Row{4500, 5000, 4096, 4500}, Row{64, 3000, 4096, 3000}}) {
        const rlimit limits = {.rlim_cur = row.soft, .rlim_max = row.hard};
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limits), 0);
        raiseDescriptorLimit(row.wanted);
        EXPECT_EQ(descriptorLimit(), row.limit);
    }
}

TEST(Descriptors, OneCanBeKeptFromOtherPrograms)
{
    const int descriptor = dup(STDIN_FILENO);
    ASSERT_EQ(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
    setCloseOnExec(descriptor);
    EXPECT_EQ(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    close(descriptor);
}

} // namespace kavrin
