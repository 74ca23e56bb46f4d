// SPDX-License-Identifier: MIT
#include "catalogue/pages/Pages.h"

namespace kavrin::catalogue
{

using namespace Qt::StringLiterals;

namespace
{

Sect sizeAndPosition()
{
    return {
        u"Size & position"_s,
        {
            {u"rowH"_s, u"Key height"_s, Slider{54, 36, 80, 1, u"pt"_s}},
            {u"vGap"_s, u"Row spacing"_s, Slider{11, 0, 24, 1, u"pt"_s}},
            {u"hGap"_s, u"Key spacing"_s, Slider{6, 0, 16, 1, u"pt"_s}},
            {u"radius"_s, u"Corner radius"_s, Slider{8, 0, 28, 1, u"pt"_s}},
            {u"bottomPad"_s, u"Bottom space"_s, Slider{0, 0, 80, 2, u"pt"_s},
             u"The keys always stop above the home indicator, even at 0."_s},
            {u"widthPct"_s, u"Keyboard width"_s, Slider{100, 60, 100, 1, u"%"_s}},
            {u"posX"_s, u"Horizontal position"_s, Slider{50, 0, 100, 1, u"%"_s},
             u"0 = left edge, 100 = right edge (one-handed mode)."_s},
            {u"landscape"_s, u"Landscape height"_s, Slider{72, 40, 100, 1, u"%"_s}},
            actionInKeyboard(u"act.resize"_s, u"Resize on screen…"_s),
        },
    };
}

Sect rowsAndLabels()
{
    return {
        u"Rows & labels"_s,
        {
            {u"numpadAuto"_s, u"Number pad for numeric fields"_s, on,
             u"Switches to the number pad when a field asks for numbers or a phone number. "
             u"The 123 page has a key for it too."_s},
            {u"punctKeys"_s, u"Comma and period keys next to the space bar"_s, on},
            {u"stockLayout"_s, u"iOS-style bottom row (123, emoji, space, return)"_s, on,
             u"Off brings back comma and period keys next to the space bar."_s},
            {u"numberRow"_s, u"Number row"_s, off},
            {u"numRowScale"_s, u"Number row height"_s, Slider{100, 40, 140, 5, u"%"_s},
             u"Relative to a normal key row. You can also drag it: Resize on screen, then the handle under "
             u"the number row."_s},
            {u"spaceLabel"_s, u"Language label on space bar"_s, on},
            {u"hints"_s, u"Key hints"_s,
             Choice{u"off"_s,
                    {
                        {u"off"_s, u"Off"_s},
                        {u"numbers"_s, u"Numbers"_s},
                        {u"all"_s, u"Numbers & symbols"_s},
                    }}},
        },
    };
}

Sect toolbar()
{
    return {
        u"Toolbar"_s,
        {
            action(u"act.toolbar"_s, u"Reorder & hide toolbar icons"_s),
        },
    };
}

} // namespace

Page layoutPage()
{
    return {u"layout"_s, u"Layout"_s, u"keyboard"_s, {sizeAndPosition(), rowsAndLabels(), toolbar()}};
}

} // namespace kavrin::catalogue
