// SPDX-License-Identifier: MIT
#include "catalogue/pages/Pages.h"

namespace kavrin::catalogue
{

using namespace Qt::StringLiterals;

namespace
{

const Condition usesApi{u"dictMode"_s, u"api"_s};

/// The conditions for the rows of one service.
std::vector<Condition> uses(const QString &provider)
{
    return {usesApi, {u"provider"_s, provider}};
}

/// A choice of a service's models.
Choice models(Choice choice)
{
    choice.isOpen = true;
    return choice;
}

Sect source()
{
    return {
        u"Source"_s,
        {
            {u"dictMode"_s, u"Voice typing"_s,
             Choice{u"api"_s,
                    {
                        {u"api"_s, u"Keyboard mic (API)"_s},
                        {u"system"_s, u"iOS system dictation"_s},
                    }},
             u"With the system option the keyboard shows no mic. With the API option the mic appears in the "
             u"suggestion row once a key below is set. Recording happens in the Kavrin app, then the text "
             u"comes back through the clipboard."_s},
            {u"provider"_s,
             u"Provider"_s,
             Choice{u"openai"_s,
                    {
                        {u"openai"_s, u"OpenAI"_s},
                        {u"gemini"_s, u"Gemini"_s},
                        {u"custom"_s, u"Custom (OpenAI-compatible)"_s},
                    }},
             std::nullopt,
             {usesApi}},
        },
    };
}

Sect openai()
{
    return {
        u"OpenAI"_s,
        {
            {u"openaiKey"_s, u"API key"_s, emptySecret, std::nullopt, uses(u"openai"_s)},
            {u"openaiModel"_s, u"Model"_s,
             models(choiceOfValues(u"gpt-4o-mini-transcribe"_s,
                                   {u"gpt-4o-mini-transcribe"_s, u"gpt-4o-transcribe"_s, u"whisper-1"_s})),
             std::nullopt, uses(u"openai"_s)},
        },
    };
}

Sect gemini()
{
    return {
        u"Gemini"_s,
        {
            {u"geminiKey"_s, u"API key"_s, emptySecret, std::nullopt, uses(u"gemini"_s)},
            {u"geminiModel"_s, u"Model"_s,
             models({u"gemini-flash-latest"_s,
                     {
                         {u"gemini-flash-latest"_s, u"Flash (always the newest)"_s},
                         {u"gemini-3.8-flash"_s, u"Gemini 3.8 Flash"_s},
                         {u"gemini-3.7-flash"_s, u"Gemini 3.7 Flash"_s},
                         {u"gemini-3.6-flash"_s, u"Gemini 3.6 Flash"_s},
                         {u"gemini-flash-lite-latest"_s, u"Flash-Lite (always the newest)"_s},
                         {u"gemini-3.5-flash-lite"_s, u"Gemini 3.5 Flash-Lite"_s},
                         {u"gemini-pro-latest"_s, u"Pro (always the newest)"_s},
                         {u"gemini-3.1-pro-preview"_s, u"Gemini 3.1 Pro (preview)"_s},
                     }}),
             std::nullopt, uses(u"gemini"_s)},
        },
    };
}

Sect customEndpoint()
{
    return {
        u"Custom endpoint"_s,
        {
            {u"customURL"_s, u"Endpoint URL"_s, emptyText,
             u"Full URL of an /audio/transcriptions style endpoint."_s, uses(u"custom"_s)},
            {u"customKey"_s, u"API key"_s, emptySecret, std::nullopt, uses(u"custom"_s)},
            {u"customModel"_s, u"Model"_s, Text{u"whisper-1"_s, false}, std::nullopt, uses(u"custom"_s)},
        },
    };
}

Sect test()
{
    return {
        u"Test"_s,
        {
            action(u"act.testDictation"_s, u"Test voice typing"_s),
        },
    };
}

} // namespace

Page dictationPage()
{
    return {u"dictation"_s,
            u"Voice typing"_s,
            u"mic"_s,
            {source(), openai(), gemini(), customEndpoint(), test()}};
}

} // namespace kavrin::catalogue
