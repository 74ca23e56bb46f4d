// SPDX-License-Identifier: MIT
#include "catalogue/pages/Pages.h"

namespace kavrin::catalogue
{

using namespace Qt::StringLiterals;

namespace
{

Sect haptics()
{
    return {
        u"Haptics"_s,
        {
            {u"keyHaptic"_s, u"Haptics on key press"_s, on},
            {u"hapticStyle"_s, u"Haptic strength"_s,
             Choice{u"light"_s,
                    {
                        {u"soft"_s, u"Soft"_s},
                        {u"light"_s, u"Light"_s},
                        {u"medium"_s, u"Medium"_s},
                        {u"rigid"_s, u"Rigid"_s},
                        {u"heavy"_s, u"Heavy"_s},
                    }}},
            {u"gestureHaptic"_s, u"Haptics on gestures"_s, on},
        },
    };
}

Sect sound()
{
    return {
        u"Sound"_s,
        {
            {u"keySound"_s, u"Sound on key press"_s, off},
        },
    };
}

} // namespace

Page feedbackPage()
{
    return {u"feedback"_s, u"Feedback"_s, u"speaker.wave.2"_s, {haptics(), sound()}};
}

} // namespace kavrin::catalogue
