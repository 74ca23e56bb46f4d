// SPDX-License-Identifier: MIT
#include "transcription/SpeechService.h"

#include "platform/Error.h"
#include "platform/PropertyList.h"
#include "store/Shared.h"

#include <optional>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// Not through Prefs: a setting that was never written has other defaults here than in the catalogue.
QString setting(const QString &key, const QString &fallback = {})
{
    const auto [stored, failure] = Shared::d().read(key);
    if (failure) {
        throw Error(*failure);
    }
    return (stored ? PropertyList::toText(*stored) : std::nullopt).value_or(fallback);
}

MultipartService openaiService()
{
    return {u"https://" KAVRIN_OPENAI_HOST "/v1/audio/transcriptions"_s, setting(u"openaiKey"_s),
            setting(u"openaiModel"_s, u"gpt-4o-mini-transcribe"_s)};
}

MultipartService customService()
{
    return {setting(u"customURL"_s), setting(u"customKey"_s), setting(u"customModel"_s, u"whisper-1"_s)};
}

GeminiService geminiService()
{
    return {QStringLiteral(KAVRIN_GEMINI_HOST), setting(u"geminiModel"_s, u"gemini-2.5-flash"_s),
            setting(u"geminiKey"_s)};
}

} // namespace

SpeechService chosenService()
{
    const QString provider = setting(u"provider"_s, u"openai"_s);
    if (provider == "gemini"_L1) {
        return geminiService();
    }
    return provider == "custom"_L1 ? customService() : openaiService();
}

} // namespace kavrin
