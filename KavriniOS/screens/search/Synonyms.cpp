// SPDX-License-Identifier: MIT
#include "screens/search/Synonyms.h"

namespace kavrin::search
{

using namespace Qt::StringLiterals;

const std::vector<Synonyms> &synonyms()
{
    static const std::vector<Synonyms> table = {
        {u"size big bigger large small smaller tall"_s,
         {u"rowH"_s, u"labelSize"_s, u"widthPct"_s, u"numRowScale"_s, u"landscape"_s}},
        {u"gap gaps distance margin padding"_s, {u"vGap"_s, u"hGap"_s, u"bottomPad"_s}},
        {u"round rounded rounding"_s, {u"radius"_s}},
        {u"left right one-handed side"_s, {u"posX"_s, u"widthPct"_s}},
        {u"rotated sideways"_s, {u"landscape"_s}},
        {u"digits"_s, {u"numberRow"_s, u"numRowScale"_s, u"numpadAuto"_s}},
        {u"dot full stop"_s, {u"punctKeys"_s, u"doubleSpace"_s}},
        {u"tools buttons"_s, {u"act.toolbar"_s}},
        {u"night black"_s, {u"capDark"_s}},
        {u"day white"_s, {u"capLight"_s}},
        {u"theme appearance style"_s, {u"look"_s}},
        {u"colour theme highlight"_s, {u"accent"_s}},
        {u"font text type"_s, {u"labelSize"_s, u"boldLabels"_s}},
        {u"outline contour"_s, {u"keyBorder"_s}},
        {u"bubble magnifier"_s, {u"popup"_s}},
        {u"swipe slide"_s, {u"glide"_s, u"glideDist"_s, u"trail"_s, u"trailWidth"_s}},
        {u"accuracy precision"_s, {u"smartTouch"_s, u"adaptTouch"_s}},
        {u"accents umlaut special"_s, {u"popupAlts"_s}},
        {u"hold"_s, {u"longPress"_s}},
        {u"backspace erase"_s, {u"delDelay"_s, u"delRepeat"_s, u"deleteSlide"_s}},
        {u"speed"_s, {u"delRepeat"_s, u"longPress"_s}},
        {u"vibration vibrate buzz"_s, {u"keyHaptic"_s, u"hapticStyle"_s, u"gestureHaptic"_s}},
        {u"click clicks noise volume"_s, {u"keySound"_s}},
        {u"turkish turkce qwerty"_s, {u"language"_s, u"langExtra_tr"_s}},
        {u"spelling autocorrect typos"_s, {u"autoCorrect"_s}},
        {u"uppercase capitals"_s, {u"autoCap"_s, u"capsLock"_s}},
        {u"predictions prediction completion"_s, {u"suggestStrip"_s, u"nextWord"_s}},
        {u"privacy history"_s, {u"learn"_s, u"clipboard"_s}},
        {u"copy paste"_s, {u"clipboard"_s, u"clipboardLimit"_s, u"clipboardMinutes"_s}},
        {u"dictation speech microphone transcription whisper"_s,
         {u"dictation"_s, u"dictMode"_s, u"provider"_s, u"act.testDictation"_s}},
        {u"service server ai"_s, {u"provider"_s, u"customURL"_s, u"customModel"_s}},
        {u"address"_s, {u"customURL"_s}},
        {u"password token account"_s,
         {u"openaiKey"_s, u"geminiKey"_s, u"customKey"_s, u"giphyKey"_s, u"ytKey"_s, u"gcseKey"_s}},
        {u"translation translator"_s, {u"translateEngine"_s, u"translateSource"_s, u"translateTarget"_s}},
        {u"google"_s, {u"gcseKey"_s, u"gcseCx"_s, u"ytKey"_s}},
        {u"people address book"_s, {u"act.contacts"_s}},
        {u"otp sms 2fa one-time"_s, {u"codes"_s, u"codeChips"_s}},
        {u"export save"_s, {u"act.copyConfig"_s, u"advanced"_s}},
        {u"default defaults restore undo"_s, {u"act.resetAll"_s, u"advanced"_s}},
        {u"words abbreviations snippets vocabulary"_s, {u"dictionary"_s}},
    };
    return table;
}

QString synonymsOf(const QString &key)
{
    QStringList words;
    for (const Synonyms &row : synonyms()) {
        if (row.keys.contains(key)) {
            words.append(row.words);
        }
    }
    return words.join(u' ');
}

} // namespace kavrin::search
