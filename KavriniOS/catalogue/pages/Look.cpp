// SPDX-License-Identifier: MIT
#include "catalogue/pages/Pages.h"

namespace kavrin::catalogue
{

using namespace Qt::StringLiterals;

namespace
{

Sect keys()
{
    return {
        u"Keys"_s,
        {
            {u"capLight"_s, u"Key whiteness (light mode)"_s, Slider{1, 0.3, 1, 0.01, {}}},
            {u"capDark"_s, u"Key brightness (dark mode)"_s, Slider{0.2, 0.05, 0.5, 0.01, {}}},
            {u"fnDim"_s, u"Function key shade"_s, Slider{0, 0, 1, 0.05, {}}},
            {u"keyBorder"_s, u"Key borders"_s, off},
            {u"keyShadow"_s, u"Key shadows"_s, on},
            {u"glassPress"_s, u"Liquid Glass press effect"_s, on},
            {u"labelSize"_s, u"Letter size"_s, Slider{23, 18, 32, 1, u"pt"_s}},
            {u"boldLabels"_s, u"Bold letters"_s, off},
        },
    };
}

Sect colorAndPopups()
{
    return {
        u"Color & popups"_s,
        {
            {u"accent"_s, u"Accent color"_s,
             Choice{u"blue"_s,
                    {
                        {u"blue"_s, u"Blue"_s},
                        {u"green"_s, u"Green"_s},
                        {u"purple"_s, u"Purple"_s},
                        {u"pink"_s, u"Pink"_s},
                        {u"orange"_s, u"Orange"_s},
                        {u"graphite"_s, u"Graphite"_s},
                    }}},
            {u"popup"_s, u"Key preview popup"_s, on},
            {u"trail"_s, u"Show glide trail"_s, on},
            {u"trailWidth"_s, u"Glide trail width"_s, Slider{7, 3, 14, 1, u"pt"_s}},
        },
    };
}

Sect suggestionRow()
{
    return {
        u"Suggestion row"_s,
        {
            {u"sugPills"_s, u"Separate suggestion pills"_s, off,
             u"Gives each suggestion its own capsule. Off keeps the thin dividers. Either way a suggestion "
             u"lights up the moment you touch it."_s},
        },
    };
}

} // namespace

Page lookPage()
{
    return {u"look"_s, u"Look & feel"_s, u"paintpalette"_s, {keys(), colorAndPopups(), suggestionRow()}};
}

} // namespace kavrin::catalogue
