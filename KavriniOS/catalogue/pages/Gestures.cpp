// SPDX-License-Identifier: MIT
#include "catalogue/pages/Pages.h"

namespace kavrin::catalogue
{

using namespace Qt::StringLiterals;

namespace
{

Sect glideTyping()
{
    return {
        u"Glide typing"_s,
        {
            {u"glide"_s, u"Glide typing"_s, on},
            {u"glideDist"_s, u"Glide start distance"_s, Slider{14, 8, 30, 1, u"pt"_s}},
        },
    };
}

Sect deleteKey()
{
    return {
        u"Delete key"_s,
        {
            {u"deleteSlide"_s, u"Slide on delete key to erase words"_s, on},
            {u"deleteMode"_s, u"Slide-to-erase style"_s,
             Choice{u"live"_s,
                    {
                        {u"live"_s, u"Live (text vanishes, comes back if you slide back)"_s},
                        {u"preview"_s, u"Preview in suggestion bar"_s},
                    }},
             u"iOS gives keyboards no way to highlight text, so Live mode shows the erase in the text itself "
             u"and restores it if you slide back before releasing."_s},
            {u"deleteSens"_s, u"Slide-to-erase distance per word"_s, Slider{30, 14, 70, 1, u"pt"_s}},
        },
    };
}

Sect spaceBar()
{
    return {
        u"Space bar"_s,
        {
            {u"spaceCursor"_s, u"Slide on space bar to move cursor"_s, on},
            {u"cursorSens"_s, u"Cursor distance per character"_s, Slider{9, 4, 24, 1, u"pt"_s}},
            {u"cursorBuild"_s, u"Momentum needed to start cursor"_s, Slider{30, 10, 80, 2, u"pt"_s},
             u"How much brisk movement the finger must build up on the space bar before the cursor starts. "
             u"A thumb that rolls or drifts while you tap space never gets there, so it stays a space. "
             u"Higher = harder to trigger."_s},
            {u"cursorVertical"_s, u"Move cursor up and down"_s, on},
            {u"cursorVSens"_s, u"Cursor distance per line"_s, Slider{24, 12, 50, 1, u"pt"_s}},
            {u"lineChars"_s, u"Characters per line (for up/down)"_s, Slider{40, 20, 80, 1, {}},
             u"iOS doesn't tell keyboards where lines wrap, so wrapped lines are estimated from this value."_s},
        },
    };
}

Sect suggestionRow()
{
    return {
        u"Suggestion row"_s,
        {
            {u"swipeHide"_s, u"Swipe down to hide keyboard"_s, on},
        },
    };
}

} // namespace

Page gesturesPage()
{
    return {u"gestures"_s,
            u"Gestures"_s,
            u"hand.draw"_s,
            {glideTyping(), deleteKey(), spaceBar(), suggestionRow()}};
}

} // namespace kavrin::catalogue
