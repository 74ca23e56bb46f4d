// SPDX-License-Identifier: MIT
// The provisioning profile that a packager may put into the bundle.
#include "fuzz/FuzzTarget.h"
#include "store/ApplicationGroups.h"

using namespace kavrin;

namespace
{

/// Ends the program, and is meant to.
bool endsBeforeItBegins(const QByteArray &profile)
{
    const qsizetype begin = profile.indexOf("<?xml");
    const qsizetype end = profile.indexOf("</plist>");
    return end >= 0 && end < begin;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray profile(reinterpret_cast<const char *>(data), qsizetype(size));
    if (!endsBeforeItBegins(profile)) {
        grantedGroups(profile);
    }
    return 0;
}
