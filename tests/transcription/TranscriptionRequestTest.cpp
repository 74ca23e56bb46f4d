// SPDX-License-Identifier: MIT
#include "transcription/TranscriptionRequest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gmock/gmock.h>

#include <functional>

namespace kavrin
{
namespace
{

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::Pair;

/// A megabyte that holds every byte value, so also what looks like line ends and field names.
QByteArray everyByte()
{
    QByteArray bytes(1 << 20, 0);
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i * 7 + i / 256);
    }
    return bytes;
}

void expectBadEndpoint(const std::function<void()> &request)
{
    try {
        request();
        ADD_FAILURE() << "no error was thrown";
    } catch (const Error &error) {
        EXPECT_EQ(error.domain, u"cfg"_s);
        EXPECT_EQ(error.code, 1);
        EXPECT_EQ(error.localizedDescription, u"Bad endpoint URL"_s);
    }
}

TEST(MultipartRequest, HasExactlyThisBody)
{
    const MultipartService service{u"https://127.0.0.1/path"_s, u"token"_s, u"whisper-ü"_s};
    const UrlRequest request = transcriptionRequest(service, u"THE-BOUNDARY"_s, QByteArray("so\0und\r\n", 8));
    const QByteArray expected = "--THE-BOUNDARY\r\n"
                                "Content-Disposition: form-data; name=\"model\"\r\n"
                                "\r\n"
                                "whisper-ü\r\n"
                                "--THE-BOUNDARY\r\n"
                                "Content-Disposition: form-data; name=\"response_format\"\r\n"
                                "\r\n"
                                "json\r\n"
                                "--THE-BOUNDARY\r\n"
                                "Content-Disposition: form-data; name=\"file\"; filename=\"dict.m4a\"\r\n"
                                "Content-Type: audio/mp4\r\n"
                                "\r\n"
        + QByteArray("so\0und\r\n", 8)
        + "\r\n"
          "--THE-BOUNDARY--\r\n";
    EXPECT_EQ(request.body, expected);
}

TEST(MultipartRequest, HoldsTheAudioUnchanged)
{
    const QByteArray audio = everyByte();
    const UrlRequest request = transcriptionRequest({u"https://127.0.0.1/"_s, {}, {}}, u"B"_s, audio);
    EXPECT_TRUE(request.body.endsWith("Content-Type: audio/mp4\r\n\r\n" + audio + "\r\n--B--\r\n"));
}

TEST(MultipartRequest, HoldsAnEmptyRecording)
{
    const UrlRequest request = transcriptionRequest({u"https://127.0.0.1/"_s, {}, {}}, u"B"_s, {});
    EXPECT_TRUE(request.body.endsWith("Content-Type: audio/mp4\r\n\r\n\r\n--B--\r\n"));
}

TEST(MultipartRequest, IsPostedWithATimeOutOfAMinute)
{
    const UrlRequest request =
        transcriptionRequest({u"https://127.0.0.1/path?a=b"_s, {}, {}}, u"B"_s, "sound");
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.url, "https://127.0.0.1/path?a=b");
    EXPECT_EQ(request.timeout, std::chrono::seconds(60));
}

TEST(MultipartRequest, CarriesTheTokenWhereThereIsOne)
{
    const UrlRequest request =
        transcriptionRequest({u"https://127.0.0.1/"_s, u" tökèn "_s, {}}, u"B"_s, "sound");
    EXPECT_THAT(request.headers,
                ElementsAre(Pair("Content-Type", "multipart/form-data; boundary=B"),
                            Pair("Authorization", "Bearer  tökèn ")));
}

TEST(MultipartRequest, HasNoAuthorizationWithoutToken)
{
    const UrlRequest request = transcriptionRequest({u"https://127.0.0.1/"_s, {}, {}}, u"B"_s, "sound");
    EXPECT_THAT(request.headers, ElementsAre(Pair("Content-Type", "multipart/form-data; boundary=B")));
}

TEST(MultipartRequest, NeedsAnAddressThatIsAUrl)
{
    for (const QString &endpoint : {u""_s, u" "_s, u"http://127.0.0.1/a b"_s, u" http://127.0.0.1/"_s,
                                    u"http://127.0.0.1/\n"_s, u"http://127.0.0.1:port/"_s, u"http://[::1/"_s,
                                    u"http://a b/"_s, u"http://127.0.0.1/%zz"_s, u"http://127.0.0.1/<>"_s}) {
        SCOPED_TRACE(endpoint.toStdString());
        expectBadEndpoint([&] { transcriptionRequest(MultipartService{endpoint, {}, {}}, u"B"_s, "sound"); });
    }
}

TEST(MultipartRequest, TakesAnyAddressThatIsAUrlAsItStands)
{
    for (const QString &endpoint : {u"http://127.0.0.1:49732/v1/audio/transcriptions"_s, u"https://[::1]/"_s,
                                    u"HTTPS://Example.invalid"_s, u"http://127.0.0.1/%7Ea%20%41%c3%bc"_s,
                                    u"ftp://127.0.0.1/"_s, u"nothing"_s}) {
        SCOPED_TRACE(endpoint.toStdString());
        const UrlRequest request = transcriptionRequest(MultipartService{endpoint, {}, {}}, u"B"_s, "sound");
        EXPECT_EQ(request.url, endpoint.toUtf8());
    }
}

TEST(GeminiRequest, HasExactlyThisBody)
{
    const UrlRequest request = transcriptionRequest(GeminiService{u"127.0.0.1"_s, u"m"_s, u"k"_s}, "sound");
    EXPECT_EQ(
        request.body,
        R"({"contents":[{"parts":[{"inline_data":{"mime_type":"audio/mp4","data":"c291bmQ="}},)"
        R"({"text":"Transcribe this audio verbatim with punctuation. Output only the transcript."}]}]})");
}

TEST(GeminiRequest, HoldsTheAudioInStandardBase64)
{
    const QByteArray full = everyByte();
    for (const qsizetype size : {0, 1, 2, 3, 4, 49151, 49152, 49153, 98304, 1 << 20}) {
        SCOPED_TRACE(size);
        const QByteArray audio = full.first(size);
        const UrlRequest request = transcriptionRequest(GeminiService{u"127.0.0.1"_s, {}, {}}, audio);
        const QJsonDocument body = QJsonDocument::fromJson(request.body);
        const QString data = body[u"contents"][0][u"parts"][0][u"inline_data"][u"data"].toString();
        EXPECT_EQ(data, QString::fromLatin1(audio.toBase64()));
    }
}

TEST(GeminiRequest, IsPostedWithATimeOutOfAMinute)
{
    const UrlRequest request = transcriptionRequest(GeminiService{u"127.0.0.1"_s, {}, {}}, "sound");
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.timeout, std::chrono::seconds(60));
    EXPECT_THAT(request.headers, ElementsAre(Pair("Content-Type", "application/json")));
}

TEST(GeminiRequest, NamesModelAndKeyInItsAddressAsTheyStand)
{
    const struct {
        QString model;
        QString key;
        QByteArray url;
    } cases[] = {
        {u"gemini-2.5-flash"_s, u"AIza_x-1"_s,
         "https://127.0.0.1/v1beta/models/gemini-2.5-flash:generateContent?key=AIza_x-1"},
        {{}, {}, "https://127.0.0.1/v1beta/models/:generateContent?key="},
        {u"a%7E"_s, u"%41%c3"_s, "https://127.0.0.1/v1beta/models/a%7E:generateContent?key=%41%c3"},
        {u"a%20b"_s, u"c+d/e=="_s, "https://127.0.0.1/v1beta/models/a%20b:generateContent?key=c+d/e=="},
    };
    for (const auto &[model, key, url] : cases) {
        const UrlRequest request = transcriptionRequest(GeminiService{u"127.0.0.1"_s, model, key}, "sound");
        EXPECT_EQ(request.url, url);
    }
}

TEST(GeminiRequest, NeedsAModelAndAKeyThatMakeAUrl)
{
    const GeminiService services[] = {
        {u"127.0.0.1"_s, u"two words"_s, u"key"_s}, {u"127.0.0.1"_s, u"model"_s, u"key "_s},
        {u"127.0.0.1"_s, u"model"_s, u"key\n"_s},   {u"127.0.0.1"_s, u"model"_s, u"100%"_s},
        {u"127.0.0.1"_s, u"<model>"_s, u"key"_s},
    };
    for (const GeminiService &service : services) {
        SCOPED_TRACE((service.model + u' ' + service.key).toStdString());
        expectBadEndpoint([&] { transcriptionRequest(service, "sound"); });
    }
}

} // namespace
} // namespace kavrin
