// SPDX-License-Identifier: MIT
#include "catalogue/pages/Pages.h"

namespace kavrin::catalogue
{

using namespace Qt::StringLiterals;

namespace
{

Sect touchAccuracy()
{
    return {
        u"Touch accuracy"_s,
        {
            {u"smartTouch"_s, u"Smart touch correction"_s, on,
             u"Only corrects ambiguous taps near key edges; strong, intentional taps are never overridden."_s},
            {u"adaptTouch"_s, u"Learn my touch style"_s, on,
             u"Learns a small, persistent thumb offset from unambiguous taps."_s},
            {u"touchY"_s, u"Touch point offset"_s, Slider{0, -12, 12, 1, u"pt"_s},
             u"Positive moves the registered touch point down."_s},
            {u"topReach"_s, u"Extra reach above top row"_s, Slider{8, 0, 16, 1, u"pt"_s}},
        },
    };
}

Sect keys()
{
    return {
        u"Keys"_s,
        {
            {u"longPress"_s, u"Long-press delay"_s, Slider{380, 150, 800, 10, u"ms"_s}},
            {u"popupAlts"_s, u"Long-press for alternate characters"_s, on},
            {u"capsLock"_s, u"Double-tap shift for Caps Lock"_s, on},
            {u"delDelay"_s, u"Delete hold delay"_s, Slider{400, 200, 800, 10, u"ms"_s}},
            {u"delRepeat"_s, u"Delete repeat interval"_s, Slider{45, 15, 150, 5, u"ms"_s}},
        },
    };
}

} // namespace

Page touchPage()
{
    return {u"touch"_s, u"Typing & touch"_s, u"hand.tap"_s, {touchAccuracy(), keys()}};
}

} // namespace kavrin::catalogue
