// SPDX-License-Identifier: MIT
#include "catalogue/pages/Pages.h"

namespace kavrin::catalogue
{

using namespace Qt::StringLiterals;

namespace
{

const std::vector<Opt> &languages()
{
    static const std::vector<Opt> all{
        {u"en"_s, u"English"_s},      {u"tr"_s, u"Türkçe"_s},     {u"es"_s, u"Español"_s},
        {u"fr"_s, u"Français"_s},     {u"de"_s, u"Deutsch"_s},    {u"it"_s, u"Italiano"_s},
        {u"pt"_s, u"Português"_s},    {u"ru"_s, u"Русский"_s},    {u"ar"_s, u"العربية"_s},
        {u"zh-CN"_s, u"中文"_s},      {u"ja"_s, u"日本語"_s},     {u"ko"_s, u"한국어"_s},
        {u"hi"_s, u"हिन्दी"_s},        {u"nl"_s, u"Nederlands"_s}, {u"pl"_s, u"Polski"_s},
        {u"sv"_s, u"Svenska"_s},      {u"uk"_s, u"Українська"_s}, {u"el"_s, u"Ελληνικά"_s},
        {u"he"_s, u"עברית"_s},        {u"id"_s, u"Indonesia"_s},  {u"fa"_s, u"فارسی"_s},
        {u"az"_s, u"Azərbaycanca"_s},
    };
    return all;
}

std::vector<Opt> autoDetectAndLanguages()
{
    std::vector<Opt> options{{u"auto"_s, u"Auto-detect"_s}};
    options.insert(options.end(), languages().begin(), languages().end());
    return options;
}

Sect translate()
{
    return {
        u"Translate"_s,
        {
            {u"translateEngine"_s, u"Engine"_s,
             Choice{u"mymemory"_s,
                    {
                        {u"mymemory"_s, u"MyMemory (free, no key)"_s},
                        {u"gemini"_s, u"Gemini (uses Gemini key)"_s},
                        {u"openai"_s, u"OpenAI (uses OpenAI key)"_s},
                    }}},
            {u"translateSource"_s, u"From"_s, Choice{u"auto"_s, autoDetectAndLanguages()}},
            {u"translateTarget"_s, u"To"_s, Choice{u"en"_s, languages()}},
        },
    };
}

Sect gifsAndStickers()
{
    return {
        u"GIFs & stickers"_s,
        {
            {u"giphyKey"_s, u"GIPHY API key"_s, emptySecret,
             u"Create a free key on developers.giphy.com. A tapped GIF is copied; paste it into the chat."_s},
            {u"gifSend"_s, u"When you tap a GIF or sticker"_s,
             Choice{u"link"_s,
                    {
                        {u"link"_s, u"Insert it straight into the text"_s},
                        {u"media"_s, u"Copy the GIF and paste it"_s},
                    }},
             u"iOS gives keyboards no way to put an image into another app's text field. Inserting adds the "
             u"GIF's link, which chat apps turn into the GIF, and never touches the clipboard. Copy puts the "
             u"real image on the clipboard and asks the field to paste it."_s},
            {u"giphyRating"_s, u"Content rating"_s,
             Choice{u"pg-13"_s,
                    {
                        {u"g"_s, u"G"_s},
                        {u"pg"_s, u"PG"_s},
                        {u"pg-13"_s, u"PG-13"_s},
                        {u"r"_s, u"R"_s},
                    }}},
        },
    };
}

Sect youtube()
{
    return {
        u"YouTube"_s,
        {
            {u"ytKey"_s, u"YouTube Data API key"_s, emptySecret,
             u"Enable YouTube Data API v3 in Google Cloud. Tapping a result inserts its link."_s},
        },
    };
}

Sect webSearch()
{
    return {
        u"Web search"_s,
        {
            {u"gcseKey"_s, u"Google API key"_s, emptySecret,
             u"Uses Google Programmable Search: create a search engine on "
             u"programmablesearchengine.google.com, then a key for it in Google Cloud."_s},
            {u"gcseCx"_s, u"Search engine ID (cx)"_s, emptyText},
        },
    };
}

Sect contacts()
{
    return {
        u"Contacts"_s,
        {
            action(u"act.contacts"_s, u"Contacts access"_s),
        },
    };
}

} // namespace

Page extensionsPage()
{
    return {u"extensions"_s,
            u"Extensions"_s,
            u"puzzlepiece.extension"_s,
            {translate(), gifsAndStickers(), youtube(), webSearch(), contacts()}};
}

} // namespace kavrin::catalogue
