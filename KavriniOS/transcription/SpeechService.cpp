// SPDX-License-Identifier: MIT
#include "transcription/SpeechService.h"

#include "platform/Error.h"
#include "platform/PropertyList.h"
#include "store/Shared.h"

#include <algorithm>
#include <optional>
#include <variant>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// The settings as they stand, or as changes would make them.
class Settings
{
public:
    explicit Settings(const Changes &instead) : m_instead(instead) { }

    /// Not through Prefs: a setting that was never written has other defaults here than in the catalogue.
    [[nodiscard]] QString get(const QString &key, const QString &fallback = {}) const
    {
        const auto change = std::ranges::find(m_instead, key, &Change::key);
        return (change == m_instead.end() ? stored(key) : changed(*change)).value_or(fallback);
    }

private:
    static std::optional<QString> stored(const QString &key)
    {
        const auto [value, failure] = Shared::d().read(key);
        if (failure) {
            throw Error(*failure);
        }
        return value ? PropertyList::toText(*value) : std::nullopt;
    }

    static std::optional<QString> changed(const Change &change)
    {
        const auto *text = change.value ? std::get_if<QString>(&*change.value) : nullptr;
        return text ? std::optional(*text) : std::nullopt;
    }

    const Changes &m_instead;
};

const QString openaiAddress = u"https://" KAVRIN_OPENAI_HOST "/v1/audio/transcriptions"_s;

MultipartService openaiService(const Settings &settings)
{
    return {openaiAddress, settings.get(u"openaiKey"_s),
            settings.get(u"openaiModel"_s, u"gpt-4o-mini-transcribe"_s)};
}

MultipartService customService(const Settings &settings)
{
    return {settings.get(u"customURL"_s), settings.get(u"customKey"_s),
            settings.get(u"customModel"_s, u"whisper-1"_s)};
}

GeminiService geminiService(const Settings &settings)
{
    return {QStringLiteral(KAVRIN_GEMINI_HOST), settings.get(u"geminiModel"_s, u"gemini-2.5-flash"_s),
            settings.get(u"geminiKey"_s)};
}

} // namespace

SpeechService chosenService(const Changes &instead)
{
    const Settings settings(instead);
    const QString provider = settings.get(u"provider"_s, u"openai"_s);
    if (provider == "gemini"_L1) {
        return geminiService(settings);
    }
    return provider == "custom"_L1 ? customService(settings) : openaiService(settings);
}

QString missingFrom(const SpeechService &service)
{
    if (const auto *gemini = std::get_if<GeminiService>(&service)) {
        return gemini->key.isEmpty() ? u"No key is set for Gemini."_s : QString();
    }
    const auto &multipart = std::get<MultipartService>(service);
    if (multipart.endpoint.isEmpty()) {
        return u"No address is set for the speech service."_s;
    }
    const bool lacksKey = multipart.endpoint == openaiAddress && multipart.token.isEmpty();
    return lacksKey ? u"No key is set for OpenAI."_s : QString();
}

Changes choosing(const QString &address)
{
    Changes changes = {{u"provider"_s, u"custom"_s}, {u"customURL"_s, address}};
    if (Shared::d().string(u"customURL"_s) != address) {
        changes.push_back({u"customKey"_s, std::nullopt});
        changes.push_back({u"customModel"_s, std::nullopt});
    }
    return changes;
}

} // namespace kavrin
