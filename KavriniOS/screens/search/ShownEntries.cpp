// SPDX-License-Identifier: MIT
#include "screens/search/ShownEntries.h"

#include "platform/PlatformText.h"
#include "store/Prefs.h"

namespace kavrin::search
{

using namespace Qt::StringLiterals;

std::vector<Entry> shownEntries()
{
    std::vector<Entry> entries = entriesOf(Prefs::pages(), platformText);
    std::erase_if(entries,
                  [](const Entry &entry) { return !entry.key.isEmpty() && !Prefs::isVisible(entry.key); });
    entries.push_back({.page = u"dictionary"_s,
                       .key = {},
                       .title = u"Personal dictionary & shortcuts"_s,
                       .pageTitle = {},
                       .section = {},
                       .options = {},
                       .footer = {}});
    return entries;
}

} // namespace kavrin::search
