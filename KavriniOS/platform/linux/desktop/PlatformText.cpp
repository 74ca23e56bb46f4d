// SPDX-License-Identifier: MIT
#include "platform/PlatformText.h"

#include <QHash>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// By the described text, what is true on Linux.
using Texts = QHash<QString, QString>;

/// What the pages of the catalogue say, in its order.
Texts catalogueTexts()
{
    return {
        {u"The keys always stop above the home indicator, even at 0."_s,
         u"Empty space below the bottom row. At 0 the keys reach the keyboard's lower edge."_s},
        {u"iOS-style bottom row (123, emoji, space, return)"_s,
         u"Plain bottom row (123, emoji, space, return)"_s},
        {u"Liquid Glass press effect"_s, u"Glass effect on pressed keys"_s},
        {u"iOS gives keyboards no way to highlight text, so Live mode shows the erase in the text itself and "
         u"restores it if you slide back before releasing."_s,
         u"A keyboard cannot highlight text in another program, so Live mode shows the erase in the text "
         u"itself and restores it if you slide back before releasing."_s},
        {u"iOS doesn't tell keyboards where lines wrap, so wrapped lines are estimated from this value."_s,
         u"Programs do not tell a keyboard where lines wrap, so wrapped lines are estimated from this value."_s},
        {u"iOS system dictation"_s, u"No mic on the keyboard"_s},
        {u"With the system option the keyboard shows no mic. With the API option the mic appears in the "
         u"suggestion row once a key below is set. Recording happens in the Kavrin app, then the text comes "
         u"back through the clipboard."_s,
         u"The keyboard's mic appears in its suggestion row once the service below is set up. Kavrin records "
         u"and hands the text to the keyboard; it is on the clipboard, too. Without a mic on the keyboard "
         u"you can still dictate with a key or from Kavrin's menu."_s},
        {u"iOS gives keyboards no way to put an image into another app's text field. Inserting adds the "
         u"GIF's link, which chat apps turn into the GIF, and never touches the clipboard. Copy puts the "
         u"real image on the clipboard and asks the field to paste it."_s,
         u"A keyboard cannot put an image into another program's text field. Inserting adds the GIF's link, "
         u"which chat programs turn into the GIF, and never touches the clipboard. Copy puts the real image "
         u"on the clipboard and asks the field to paste it."_s},
        {u"iOS doesn't let keyboards read messages. For SMS: Shortcuts › Automation › Message › Message "
         u"Contains \"code\" › Run Immediately, then add the action \"Save code in Kavrin\" with the message "
         u"as its input. For email or anything else: copy the code (or the line containing it) and it shows "
         u"up here too."_s,
         u"A keyboard cannot read messages. For SMS to this machine's own modem: enable "
         u"kavrin-messages.service. From a mail filter or a linked phone: kavrinctl save-code. For anything "
         u"else: copy the code (or the line containing it) and it shows up here too."_s},
    };
}

/// What the screens say besides.
Texts screenTexts()
{
    return {
        {u"Settings › General › Keyboard › Keyboards › Add New Keyboard › Kavrin, then enable Allow Full "
         u"Access."_s,
         u"Install a keyboard that is built for Kavrin, and choose it in your desktop's settings. It finds "
         u"these settings by itself."_s},
        {u"Denied. Enable Contacts for Kavrin in iOS Settings."_s,
         u"Not available: this desktop has no address book, or does not let Kavrin read it."_s},
        {u"Not shared (keyboard keeps its own copy)"_s, u"No keyboard has used these settings yet"_s},
        {u"Sideloading often strips the App Group. Use “Copy all settings & keys” here, then “Import "
         u"settings from clipboard” in the keyboard's own settings."_s,
         u"A keyboard in a sandbox may keep its own copy. Use “Copy all settings & keys” here, then “Import "
         u"settings from clipboard” in the keyboard's own settings."_s},
        {u"Listening… tap the keyboard mic again to stop."_s, u"Listening… Press Stop when you are done."_s},
        {u"Swipe back to your app. The text is inserted when the keyboard reappears and is also on your "
         u"clipboard."_s,
         u"The text is on your clipboard: paste it where you want it. A keyboard inserts it by itself."_s},
    };
}

} // namespace

QString platformText(const QString &described)
{
    static const Texts texts = [] {
        Texts all = catalogueTexts();
        all.insert(screenTexts());
        return all;
    }();
    return texts.value(described, described);
}

} // namespace kavrin
