// SPDX-License-Identifier: MIT
#include "catalogue/pages/Pages.h"

namespace kavrin::catalogue
{

using namespace Qt::StringLiterals;

namespace
{

Sect corrections()
{
    return {
        u"Corrections"_s,
        {
            {u"language"_s, u"Layout"_s,
             Choice{u"en"_s,
                    {
                        {u"en"_s, u"English (QWERTY)"_s},
                        {u"tr"_s, u"Türkçe (Turkish Q)"_s},
                    }},
             u"Sets the layout, the dictionary for suggestions, auto-correction and glide typing, and how "
             u"I/ı and İ/i capitalise. The toolbar has a Language button to switch quickly."_s},
            {u"langExtra_en"_s,
             u"Also use English"_s,
             on,
             u"Use several languages on one layout: suggestions, auto-correction, glide typing and the space "
             u"bar label cover every language you tick, so there is no switching."_s,
             {{u"language"_s, u"en"_s, false}}},
            {u"langExtra_tr"_s,
             u"Also use Türkçe"_s,
             on,
             u"On a non-Turkish layout, Turkish words typed without their special letters are completed and "
             u"corrected (guzel becomes güzel), and ç ğ ı İ ö ş ü are on long-press. The number and symbol "
             u"pages use the Turkish set (₺)."_s,
             {{u"language"_s, u"tr"_s, false}}},
            {u"autoCorrect"_s, u"Auto-correction"_s,
             Choice{u"modest"_s,
                    {
                        {u"off"_s, u"Off"_s},
                        {u"modest"_s, u"Modest"_s},
                        {u"aggressive"_s, u"Aggressive"_s},
                    }},
             u"The built-in dictionary is English."_s},
            {u"undoCorrection"_s, u"Backspace undoes auto-correction"_s, on},
            {u"autoCap"_s, u"Auto-capitalization"_s, on},
            {u"doubleSpace"_s, u"Double-space inserts period"_s, on},
            {u"spaceAfterGlide"_s, u"Space after glide typing"_s, on},
        },
    };
}

Sect suggestions()
{
    return {
        u"Suggestions"_s,
        {
            {u"suggestStrip"_s, u"Show suggestion strip"_s, on},
            {u"nextWord"_s, u"Next-word suggestions"_s, on},
            {u"quoteLiteral"_s, u"Show typed word in quotes"_s, on},
            {u"learn"_s, u"Learn from what I type"_s, on},
        },
    };
}

} // namespace

Page correctionPage()
{
    return {u"correction"_s, u"Text correction"_s, u"textformat.abc"_s, {corrections(), suggestions()}};
}

} // namespace kavrin::catalogue
