// SPDX-License-Identifier: MIT
#pragma once

#include "tools/kavrinctl/Verb.h"

#include <span>

namespace kavrin::ctl
{

/// What may be written in place of the last of `words`, which follow "kavrinctl" on a command line, for the
/// completion of shells: each with a tab and what it is, which may be empty. It follows from how the verbs
/// are used, and from the settings and tools that there are. The shell chooses those that begin as the last
/// word does. Nothing stands for a file or a free text.
QStringList completions(std::span<const Verb> verbs, const QStringList &words);

} // namespace kavrin::ctl
