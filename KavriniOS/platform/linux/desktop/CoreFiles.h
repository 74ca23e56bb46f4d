// SPDX-License-Identifier: MIT
#pragma once

namespace kavrin
{

/// From now on, neither this process nor one that it starts leaves a core file, which would hold keys and
/// transcripts: the limit of its size is 0, which systemd's collector heeds, too. (Not PR_SET_DUMPABLE of
/// prctl(2): desktop portals refuse such a process.)
void leaveNoCoreFiles();

} // namespace kavrin
