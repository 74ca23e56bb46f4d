// SPDX-License-Identifier: MIT
#pragma once

#include "screens/search/SearchIndex.h"

#include <vector>

namespace kavrin::search
{

/// Everything that a person can find now, in the words of the platform: the pages, their rows that show as
/// the settings stand, and the dictionary. Safe from any thread.
std::vector<Entry> shownEntries();

} // namespace kavrin::search
