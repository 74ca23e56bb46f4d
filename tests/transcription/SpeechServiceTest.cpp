// SPDX-License-Identifier: MIT
#include "transcription/SpeechService.h"

#include "store/Shared.h"
#include "support/Suite.h"

#include <gtest/gtest.h>

namespace kavrin
{
namespace
{

using namespace Qt::StringLiterals;

TEST(ChosenService, IsTheOneThatTheSettingsChooseAfterTheChanges)
{
    for (const auto &[key, value] :
         {std::pair(u"provider"_s, u"custom"_s), std::pair(u"customURL"_s, u"http://before/"_s),
          std::pair(u"customKey"_s, u"sk-before"_s)}) {
        ASSERT_EQ(test::failureOf(Shared::d().set(key, value)), u"");
    }
    struct Case {
        Changes changes;
        QString endpoint;
        QString token;
        QString model;
    };
    const Case cases[] = {
        {{}, u"http://before/"_s, u"sk-before"_s, u"whisper-1"_s},
        {{{u"customURL"_s, u"http://a/"_s}, {u"customKey"_s, std::nullopt}, {u"customModel"_s, u"large"_s}},
         u"http://a/"_s,
         QString(),
         u"large"_s},
        {{{u"provider"_s, u"openai"_s}, {u"openaiKey"_s, u"sk-1"_s}},
         u"https://" KAVRIN_OPENAI_HOST "/v1/audio/transcriptions"_s,
         u"sk-1"_s,
         u"gpt-4o-mini-transcribe"_s},
    };
    for (const auto &[changes, endpoint, token, model] : cases) {
        SCOPED_TRACE(endpoint.toStdString());
        const auto service = std::get<MultipartService>(chosenService(changes));
        EXPECT_EQ(service.endpoint, endpoint);
        EXPECT_EQ(service.token, token);
        EXPECT_EQ(service.model, model);
    }
    EXPECT_EQ(Shared::d().string(u"customURL"_s), u"http://before/");
}

} // namespace
} // namespace kavrin
