// SPDX-License-Identifier: MIT
#include "transcription/Transcriber.h"

#include "doubles/ScriptedUrlSession.h"
#include "store/Shared.h"
#include "support/Suite.h"
#include "support/Wait.h"

#include <QCoroFuture>
#include <QDir>
#include <QFile>
#include <QPromise>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <memory>

namespace kavrin
{
namespace
{

using namespace Qt::StringLiterals;
using testing::Contains;
using testing::Key;
using testing::Not;
using testing::Pair;
using Settings = std::vector<std::pair<QString, PropertyListValue>>;

class TranscriberTest : public testing::Test
{
protected:
    TranscriberTest() { writeRecording("sound"); }

    ~TranscriberTest() override
    {
        for (const auto &[key, value] : Shared::d().dictionaryRepresentation().value) {
            test::drop(Shared::d(), key);
        }
    }

    Q_DISABLE_COPY_MOVE(TranscriberTest)

    void writeRecording(const QByteArray &audio) const
    {
        QFile file(recording());
        ASSERT_TRUE(file.open(QFile::WriteOnly | QFile::Truncate));
        file.write(audio);
    }

    [[nodiscard]] QString recording() const { return m_folder.filePath(u"recording"_s); }

    static void set(const Settings &settings)
    {
        for (const auto &[key, value] : settings) {
            ASSERT_EQ(test::failureOf(Shared::d().set(key, value)), u"");
        }
    }

    [[nodiscard]] QString transcribe(UrlSession &session) const { return transcribe(recording(), session); }

    static QString transcribe(const QString &path, UrlSession &session)
    {
        return test::await(Transcriber::transcribe(path, session));
    }

    /// What is sent with `settings`.
    [[nodiscard]] UrlRequest sentWith(const Settings &settings,
                                      const QByteArray &answer = R"({"text":""})") const
    {
        set(settings);
        test::ScriptedUrlSession session(answer);
        static_cast<void>(transcribe(session));
        return session.requests.at(0);
    }

    static Error errorOf(const QString &path, UrlSession &session)
    {
        try {
            ADD_FAILURE() << "no error, but the text " << transcribe(path, session).toStdString();
        } catch (const Error &error) {
            return error;
        }
        return {{}, 0, {}};
    }

    [[nodiscard]] Error errorOf(UrlSession &session) const { return errorOf(recording(), session); }

private:
    QTemporaryDir m_folder;
};

const QByteArray openaiUrl = "https://" KAVRIN_OPENAI_HOST "/v1/audio/transcriptions";
const QByteArray geminiModels = "https://" KAVRIN_GEMINI_HOST "/v1beta/models/";
const QByteArray geminiAnswer = R"({"candidates":[{"content":{"parts":[{"text":" hello\n"}]}}]})";

QByteArray modelField(const QByteArray &model)
{
    return "Content-Disposition: form-data; name=\"model\"\r\n\r\n" + model + "\r\n--";
}

QByteArray boundaryOf(const UrlRequest &request)
{
    return request.headers.at(0).second.split('=').last();
}

TEST_F(TranscriberTest, SendsNothingWhereTheChosenServiceCannotBeRead)
{
    set({{u"provider"_s, u"custom"_s}, {u"customURL"_s, u"http://localhost/"_s}});
    const QString suite = Shared::d().path();
    ASSERT_TRUE(QFile::rename(suite, suite + u".away"_s));
    ASSERT_TRUE(QDir().mkdir(suite));
    test::ScriptedUrlSession session(R"({"text":"heard by somebody else"})");
    EXPECT_THAT(errorOf(session).localizedDescription.toStdString(),
                testing::HasSubstr("the file cannot be opened"));
    EXPECT_TRUE(session.requests.empty());
}

TEST_F(TranscriberTest, AsksOpenaiUnlessAnotherProviderIsNamedExactly)
{
    const Settings cases[] = {
        {},
        {{u"provider"_s, u"openai"_s}},
        {{u"provider"_s, u""_s}},
        {{u"provider"_s, u"OpenAI"_s}},
        {{u"provider"_s, u"Gemini"_s}},
        {{u"provider"_s, u"custom "_s}},
        {{u"provider"_s, qint64(5)}},
        {{u"provider"_s, QByteArray("gemini")}},
    };
    for (const Settings &settings : cases) {
        EXPECT_EQ(sentWith(settings).url, openaiUrl);
    }
}

TEST_F(TranscriberTest, AsksOpenaiWithItsFallbacks)
{
    const UrlRequest request = sentWith({});
    EXPECT_THAT(request.headers, Not(Contains(Key("Authorization"))));
    EXPECT_TRUE(request.body.contains(modelField("gpt-4o-mini-transcribe")));
}

TEST_F(TranscriberTest, AsksOpenaiWithItsSettings)
{
    const UrlRequest request = sentWith({{u"openaiKey"_s, u"sk-1"_s},
                                         {u"openaiModel"_s, u"any model"_s},
                                         {u"customKey"_s, u"other"_s},
                                         {u"customModel"_s, u"other"_s},
                                         {u"customURL"_s, u"https://other.invalid"_s}});
    EXPECT_THAT(request.headers, Contains(Pair("Authorization", "Bearer sk-1")));
    EXPECT_TRUE(request.body.contains(modelField("any model")));
}

TEST_F(TranscriberTest, TakesAnEmptyModelAsItStands)
{
    EXPECT_TRUE(sentWith({{u"openaiModel"_s, u""_s}}).body.contains(modelField("")));
}

TEST_F(TranscriberTest, AsksACustomServiceWithItsFallbacks)
{
    const UrlRequest request =
        sentWith({{u"provider"_s, u"custom"_s}, {u"customURL"_s, u"http://127.0.0.1:1/x?y=z"_s}});
    EXPECT_EQ(request.url, "http://127.0.0.1:1/x?y=z");
    EXPECT_THAT(request.headers, Not(Contains(Key("Authorization"))));
    EXPECT_TRUE(request.body.contains(modelField("whisper-1")));
}

TEST_F(TranscriberTest, AsksACustomServiceWithItsSettings)
{
    const UrlRequest request = sentWith({{u"provider"_s, u"custom"_s},
                                         {u"customURL"_s, u"http://127.0.0.1:1/x"_s},
                                         {u"customKey"_s, u"key"_s},
                                         {u"customModel"_s, u"model"_s},
                                         {u"openaiKey"_s, u"other"_s},
                                         {u"openaiModel"_s, u"other"_s}});
    EXPECT_THAT(request.headers, Contains(Pair("Authorization", "Bearer key")));
    EXPECT_TRUE(request.body.contains(modelField("model")));
}

TEST_F(TranscriberTest, AsksGeminiWithItsFallbacks)
{
    const UrlRequest request = sentWith({{u"provider"_s, u"gemini"_s}}, geminiAnswer);
    EXPECT_EQ(request.url, geminiModels + "gemini-2.5-flash:generateContent?key=");
}

TEST_F(TranscriberTest, AsksGeminiWithItsSettings)
{
    const UrlRequest request = sentWith({{u"provider"_s, u"gemini"_s},
                                         {u"geminiModel"_s, u"gemini-flash-latest"_s},
                                         {u"geminiKey"_s, u"AIza"_s}},
                                        geminiAnswer);
    EXPECT_EQ(request.url, geminiModels + "gemini-flash-latest:generateContent?key=AIza");
    EXPECT_THAT(request.headers, Not(Contains(Key("Authorization"))));
    EXPECT_TRUE(request.body.contains(R"("data":"c291bmQ="})"));
}

TEST_F(TranscriberTest, SendsTheRecordingWhateverItsName)
{
    writeRecording("other sound");
    const QByteArray body = sentWith({}).body;
    EXPECT_TRUE(body.contains("filename=\"dict.m4a\"\r\nContent-Type: audio/mp4\r\n\r\nother sound\r\n--"));
}

TEST_F(TranscriberTest, PartsEveryRequestByAnotherUuid)
{
    const UrlRequest first = sentWith({});
    const UrlRequest second = sentWith({});
    EXPECT_NE(boundaryOf(first), boundaryOf(second));
    const QRegularExpression uuid(u"^[0-9A-F]{8}-([0-9A-F]{4}-){3}[0-9A-F]{12}$"_s);
    for (const UrlRequest &request : {first, second}) {
        const QByteArray boundary = boundaryOf(request);
        EXPECT_TRUE(uuid.match(QString::fromLatin1(boundary)).hasMatch()) << boundary.toStdString();
        EXPECT_TRUE(request.body.startsWith("--" + boundary + "\r\n"));
        EXPECT_TRUE(request.body.endsWith("\r\n--" + boundary + "--\r\n"));
    }
}

TEST_F(TranscriberTest, ReadsTheSettingsAnewOnEveryCall)
{
    EXPECT_EQ(sentWith({}).url, openaiUrl);
    const Settings changed{{u"provider"_s, u"custom"_s}, {u"customURL"_s, u"http://127.0.0.1:1/x"_s}};
    EXPECT_EQ(sentWith(changed).url, "http://127.0.0.1:1/x");
}

TEST_F(TranscriberTest, ReturnsTheBareText)
{
    test::ScriptedUrlSession session(QByteArray(R"({"text":"  hello \n"})"));
    EXPECT_EQ(transcribe(session), u"hello"_s);
}

TEST_F(TranscriberTest, ReturnsTheBareTextOfGemini)
{
    set({{u"provider"_s, u"gemini"_s}});
    test::ScriptedUrlSession session(geminiAnswer);
    EXPECT_EQ(transcribe(session), u"hello"_s);
}

TEST_F(TranscriberTest, ShowsWhatAServiceAnswersInsteadOfText)
{
    const QByteArray refusal = R"({"error":{"message":"Incorrect API key"}})";
    const std::pair<QString, QString> cases[] = {
        {u"openai"_s, u"stt"_s}, {u"custom"_s, u"stt"_s}, {u"gemini"_s, u"gemini"_s}};
    set({{u"customURL"_s, u"http://127.0.0.1:1/x"_s}});
    for (const auto &[provider, domain] : cases) {
        SCOPED_TRACE(provider.toStdString());
        set({{u"provider"_s, provider}});
        test::ScriptedUrlSession session(refusal);
        const Error error = errorOf(session);
        EXPECT_EQ(error.domain, domain);
        EXPECT_EQ(error.code, 1);
        EXPECT_EQ(error.localizedDescription, QString::fromUtf8(refusal));
    }
}

TEST_F(TranscriberTest, ReadsEachServicesAnswerInItsOwnFormOnly)
{
    test::ScriptedUrlSession openai(geminiAnswer);
    EXPECT_EQ(errorOf(openai).domain, u"stt"_s);
    set({{u"provider"_s, u"gemini"_s}});
    test::ScriptedUrlSession gemini(QByteArray(R"({"text":"hello"})"));
    EXPECT_EQ(errorOf(gemini).domain, u"gemini"_s);
}

TEST_F(TranscriberTest, PassesTheSessionsErrorOn)
{
    test::ScriptedUrlSession session(Error(u"network"_s, 5, u"127.0.0.1 did not answer in time."_s));
    const Error error = errorOf(session);
    EXPECT_EQ(error.domain, u"network"_s);
    EXPECT_EQ(error.code, 5);
    EXPECT_EQ(error.localizedDescription, u"127.0.0.1 did not answer in time."_s);
}

TEST_F(TranscriberTest, SendsNothingToABadEndpoint)
{
    set({{u"provider"_s, u"custom"_s}});
    const Settings cases[] = {{}, {{u"customURL"_s, u""_s}}, {{u"customURL"_s, u"http://127.0.0.1/a b"_s}}};
    for (const Settings &settings : cases) {
        set(settings);
        test::ScriptedUrlSession session;
        const Error error = errorOf(session);
        EXPECT_EQ(error.domain, u"cfg"_s);
        EXPECT_EQ(error.code, 1);
        EXPECT_EQ(error.localizedDescription, u"Bad endpoint URL"_s);
    }
}

TEST_F(TranscriberTest, SendsNothingToGeminiWithAKeyThatMakesNoUrl)
{
    set({{u"provider"_s, u"gemini"_s}, {u"geminiKey"_s, u"two words"_s}});
    test::ScriptedUrlSession session;
    EXPECT_EQ(errorOf(session).domain, u"cfg"_s);
}

TEST_F(TranscriberTest, SendsNothingWithoutRecording)
{
    const QString missing = recording() + u".missing"_s;
    test::ScriptedUrlSession session;
    const Error error = errorOf(missing, session);
    EXPECT_EQ(error.domain, u"file"_s);
    EXPECT_EQ(error.localizedDescription,
              u"The recording %1 could not be read: No such file or directory."_s.arg(missing));
}

TEST_F(TranscriberTest, SendsNothingInsteadOfAFolder)
{
    test::ScriptedUrlSession session;
    EXPECT_EQ(errorOf(QDir::tempPath(), session).domain, u"file"_s);
}

TEST_F(TranscriberTest, MissesTheRecordingBeforeTheEndpoint)
{
    set({{u"provider"_s, u"custom"_s}});
    test::ScriptedUrlSession session;
    EXPECT_EQ(errorOf(recording() + u".missing"_s, session).domain, u"file"_s);
}

TEST_F(TranscriberTest, SendsNothingThatItsCallerRefuses)
{
    QByteArray seen;
    const auto refuse = [&seen](const QByteArray &audio) {
        seen = audio;
        throw Error(u"audio"_s, 1, u"There is no sound in the file."_s);
    };
    test::ScriptedUrlSession session;
    EXPECT_THROW(test::await(Transcriber::transcribe(recording(), session, refuse)), Error);
    EXPECT_EQ(seen, "sound");
}

/// A session whose exchanges end when the test says so.
class HeldUrlSession final : public UrlSession
{
public:
    QCoro::Task<QByteArray> data(UrlRequest /*request*/) override
    {
        const auto exchange = std::make_shared<QPromise<QByteArray>>();
        exchange->start();
        m_exchanges.push_back(exchange);
        const QFuture<QByteArray> future = exchange->future();
        co_return co_await future;
    }

    void finish(std::size_t exchange, const QByteArray &body)
    {
        m_exchanges.at(exchange)->addResult(body);
        m_exchanges.at(exchange)->finish();
    }

private:
    std::vector<std::shared_ptr<QPromise<QByteArray>>> m_exchanges;
};

TEST_F(TranscriberTest, KeepsCallsThatOverlapApart)
{
    HeldUrlSession session;
    QCoro::Task<QString> first = Transcriber::transcribe(recording(), session);
    set({{u"provider"_s, u"gemini"_s}});
    QCoro::Task<QString> second = Transcriber::transcribe(recording(), session);
    session.finish(1, geminiAnswer);
    EXPECT_EQ(test::await(std::move(second)), u"hello"_s);
    EXPECT_FALSE(first.isReady());
    session.finish(0, R"({"text":"first"})");
    EXPECT_EQ(test::await(std::move(first)), u"first"_s);
}

} // namespace
} // namespace kavrin
