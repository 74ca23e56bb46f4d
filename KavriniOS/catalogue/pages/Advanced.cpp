// SPDX-License-Identifier: MIT
#include "catalogue/pages/Pages.h"

namespace kavrin::catalogue
{

using namespace Qt::StringLiterals;

namespace
{

Sect sync()
{
    return {
        u"Sync between app and keyboard"_s,
        {
            action(u"act.syncStatus"_s, u"Sync status"_s),
            action(u"act.copyConfig"_s, u"Copy all settings & keys"_s),
            actionInKeyboard(u"act.importConfig"_s, u"Import settings from clipboard"_s),
        },
    };
}

Sect reset()
{
    return {
        u"Reset"_s,
        {
            actionInKeyboard(u"act.resetLearned"_s, u"Forget learned words"_s),
            action(u"act.resetAll"_s, u"Reset all settings"_s, u"API keys are kept."_s),
        },
    };
}

} // namespace

Page advancedPage()
{
    return {u"advanced"_s, u"Backup & reset"_s, u"wrench.and.screwdriver"_s, {sync(), reset()}};
}

} // namespace kavrin::catalogue
