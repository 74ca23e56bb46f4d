// SPDX-License-Identifier: MIT
#include "platform/Logging.h"
#include "support/PrivateHome.h"

/// libFuzzer has a main() of its own, which calls this first.
extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    static const kavrin::test::PrivateHome home;
    kavrin::Logging::setUp();
    return 0;
}
