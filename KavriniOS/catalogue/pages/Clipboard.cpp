// SPDX-License-Identifier: MIT
#include "catalogue/pages/Pages.h"

namespace kavrin::catalogue
{

using namespace Qt::StringLiterals;

namespace
{

Sect history()
{
    return {
        u"History"_s,
        {
            {u"clipboard"_s, u"Clipboard history"_s, on},
            {u"clipboardLimit"_s, u"Clips to keep"_s, Slider{20, 5, 50, 1, {}}},
            {u"clipboardMinutes"_s, u"Delete unpinned clips after"_s, Slider{60, 5, 1440, 5, u"min"_s}},
        },
    };
}

} // namespace

Page clipboardPage()
{
    return {u"clipboard"_s, u"Clipboard"_s, u"doc.on.clipboard"_s, {history()}};
}

} // namespace kavrin::catalogue
