// SPDX-License-Identifier: MIT
#include "transcription/ModelList.h"

#include <gtest/gtest.h>

namespace kavrin
{
namespace
{

using namespace Qt::StringLiterals;

TEST(ModelList, IsAskedForBesideTheTranscriptions)
{
    struct Case {
        SpeechService service;
        QByteArray url;
        QByteArray authorization;
    };
    const Case cases[] = {
        {MultipartService{u"https://a.example/v1/audio/transcriptions"_s, u"sk-1"_s, u"m"_s},
         "https://a.example/v1/models", "Bearer sk-1"},
        {MultipartService{u"http://127.0.0.1:8080/v1/audio/transcriptions"_s, {}, {}},
         "http://127.0.0.1:8080/v1/models", ""},
        {GeminiService{u"g.example"_s, u"m"_s, u"k1"_s}, "https://g.example/v1beta/models?key=k1", ""},
    };
    for (const auto &[service, url, authorization] : cases) {
        SCOPED_TRACE(url.toStdString());
        const UrlRequest request = modelListRequest(service).value();
        EXPECT_EQ(request.url, url);
        EXPECT_EQ(request.method, "GET");
        EXPECT_EQ(request.body, "");
        EXPECT_EQ(request.headers.size(), authorization.isEmpty() ? 0 : 1);
        for (const auto &header : request.headers) {
            EXPECT_EQ(header, std::pair(QByteArray("Authorization"), authorization));
        }
    }
}

TEST(ModelList, IsNotAskedForWhereNobodyKnowsItsAddress)
{
    EXPECT_FALSE(modelListRequest(MultipartService{u"http://127.0.0.1:8080/inference"_s, {}, {}}));
}

TEST(ModelList, IsNotAskedForAtAnAddressThatIsNoUrl)
{
    try {
        modelListRequest(MultipartService{u"http://a b/v1/audio/transcriptions"_s, {}, {}});
        FAIL() << "nothing was thrown";
    } catch (const Error &error) {
        EXPECT_EQ(error.domain, u"cfg");
    }
}

TEST(ModelList, IsAnObjectWithTheArrayOfOneOfTheServices)
{
    const std::pair<QByteArray, bool> rows[] = {
        {R"({"object":"list","data":[{"id":"whisper-1"}]})", true},
        {R"({"models":[]})", true},
        {R"({"error":{"message":"Incorrect API key"}})", false},
        {R"({"data":"none"})", false},
        {"[]", false},
        {"<html>", false},
        {"", false},
    };
    for (const auto &[body, isList] : rows) {
        EXPECT_EQ(isModelList(body), isList) << body.toStdString();
    }
}

} // namespace
} // namespace kavrin
