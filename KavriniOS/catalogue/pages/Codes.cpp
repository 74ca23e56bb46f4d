// SPDX-License-Identifier: MIT
#include "catalogue/pages/Pages.h"

namespace kavrin::catalogue
{

using namespace Qt::StringLiterals;

namespace
{

Sect verificationCodes()
{
    return {
        u"Verification codes"_s,
        {
            {u"codeChips"_s, u"Show verification codes in suggestions"_s, on,
             u"iOS doesn't let keyboards read messages. For SMS: Shortcuts › Automation › Message › Message "
             u"Contains \"code\" › Run Immediately, then add the action \"Save code in Kavrin\" with the "
             u"message as its input. For email or anything else: copy the code (or the line containing it) "
             u"and it shows up here too."_s},
            {u"codeMinutes"_s, u"Keep a code for"_s, Slider{5, 1, 15, 1, u"min"_s}},
        },
    };
}

} // namespace

Page codesPage()
{
    return {u"codes"_s, u"Verification codes"_s, u"number.square"_s, {verificationCodes()}};
}

} // namespace kavrin::catalogue
