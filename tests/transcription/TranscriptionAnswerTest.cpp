// SPDX-License-Identifier: MIT
#include "transcription/TranscriptionAnswer.h"

#include <QStringConverter>

#include <gtest/gtest.h>

namespace kavrin
{
namespace
{

using namespace Qt::StringLiterals;
using Reader = QString (*)(const QByteArray &);

struct Service {
    Reader read;
    const char *domain;
};

constexpr Service multipart{multipartTranscript, "stt"};
constexpr Service gemini{geminiTranscript, "gemini"};

Error errorOf(Reader read, const QByteArray &body)
{
    try {
        ADD_FAILURE() << "no error, but the text " << read(body).toStdString();
    } catch (const Error &error) {
        return error;
    }
    return {{}, 0, {}};
}

/// That `body` holds no text: the error of the service shows `description`.
void expectNoText(const Service &service, const QByteArray &body, const QString &description)
{
    SCOPED_TRACE(body.toStdString());
    const Error error = errorOf(service.read, body);
    EXPECT_EQ(error.domain, QString::fromLatin1(service.domain));
    EXPECT_EQ(error.code, 1);
    EXPECT_EQ(error.localizedDescription, description);
}

QByteArray geminiAnswer(const QByteArray &part)
{
    return R"({"candidates":[{"content":{"parts":[)" + part + "]}}]}";
}

QByteArray encoded(const QString &text, QStringConverter::Encoding encoding, QStringConverter::Flag flag)
{
    QStringEncoder encode(encoding, flag);
    return encode(text);
}

TEST(MultipartAnswer, IsItsText)
{
    const struct {
        QByteArray body;
        QString text;
    } cases[] = {
        {R"({"text":"hello"})", u"hello"_s},
        {R"({"text":" hello there. \n"})", u"hello there."_s},
        {R"({"text":"\t\r\n \u00a0\u2003\u2028hello\u2029\u0085"})", u"hello"_s},
        {R"({"text":"first\nsecond"})", u"first\nsecond"_s},
        {R"({"text":""})", u""_s},
        {R"({"text":"  "})", u""_s},
        {R"({"text":"Türkçe İ ş 😀"})", u"Türkçe İ ş 😀"_s},
        {R"({"text":"T\u00fcrk \ud83d\ude00"})", u"Türk 😀"_s},
        {" \r\n\t{ \"usage\" : {\"text\":1} , \"text\" : \"hello\" } \n", u"hello"_s},
        {R"({"error":"no","text":"hello"})", u"hello"_s},
    };
    for (const auto &[body, text] : cases) {
        SCOPED_TRACE(body.toStdString());
        EXPECT_EQ(multipartTranscript(body), text);
    }
}

TEST(MultipartAnswer, WithoutTextIsAnErrorThatShowsIt)
{
    for (const QByteArray &body : {
             QByteArray(R"({"text":5})"),
             QByteArray(R"({"text":null})"),
             QByteArray(R"({"text":true})"),
             QByteArray(R"({"text":["hello"]})"),
             QByteArray(R"({"text":{"text":"hello"}})"),
             QByteArray(R"({"Text":"hello"})"),
             QByteArray(R"({"error":{"message":"Incorrect API key provided: ü"}})"),
             QByteArray("{}"),
             QByteArray("[]"),
             QByteArray(R"([{"text":"hello"}])"),
             QByteArray(" { }\n"),
         }) {
        expectNoText(multipart, body, QString::fromUtf8(body));
    }
}

TEST(GeminiAnswer, IsTheTextOfTheFirstPartOfTheFirstCandidate)
{
    const struct {
        QByteArray body;
        QString text;
    } cases[] = {
        {geminiAnswer(R"({"text":"hello"})"), u"hello"_s},
        {geminiAnswer(R"({"text":"\n hello \n"})"), u"hello"_s},
        {geminiAnswer(R"({"text":""})"), u""_s},
        {geminiAnswer(R"({"text":"first"},{"text":"second"})"), u"first"_s},
        {R"({"candidates":[{"content":{"parts":[{"text":"one"}]}},{"content":{"parts":[{"text":"two"}]}}]})",
         u"one"_s},
        {R"({"candidates":[{"content":{"role":"model","parts":[{"thought":true,"text":"a"}]}}],"usage":{}})",
         u"a"_s},
    };
    for (const auto &[body, text] : cases) {
        SCOPED_TRACE(body.toStdString());
        EXPECT_EQ(geminiTranscript(body), text);
    }
}

TEST(GeminiAnswer, WithoutTextThereIsAnErrorThatShowsIt)
{
    for (const QByteArray &body : {
             QByteArray("{}"),
             QByteArray("[]"),
             QByteArray(R"({"text":"hello"})"),
             QByteArray(R"({"error":{"code":400,"message":"API key not valid."}})"),
             QByteArray(R"({"candidates":[]})"),
             QByteArray(R"({"candidates":{"content":{"parts":[{"text":"hello"}]}}})"),
             QByteArray(R"({"candidates":["hello"]})"),
             QByteArray(R"({"candidates":[{"content":{"parts":[{"text":"hello"}]}},"other"]})"),
             QByteArray(R"({"candidates":[{"finishReason":"SAFETY"}]})"),
             QByteArray(R"({"candidates":[{},{"content":{"parts":[{"text":"hello"}]}}]})"),
             QByteArray(R"({"candidates":[{"content":[]}]})"),
             QByteArray(R"({"candidates":[{"content":{}}]})"),
             QByteArray(R"({"candidates":[{"content":{"parts":{}}}]})"),
             QByteArray(R"({"candidates":[{"content":{"parts":"hello"}}]})"),
             geminiAnswer(""),
             geminiAnswer("1"),
             geminiAnswer("{}"),
             geminiAnswer(R"({"text":1})"),
             geminiAnswer(R"({"text":null})"),
             geminiAnswer(R"({"inline_data":{}},{"text":"hello"})"),
             geminiAnswer(R"({"text":"hello"},1)"),
         }) {
        expectNoText(gemini, body, QString::fromUtf8(body));
    }
}

void expectNotJson(const Service &service, const QByteArray &body)
{
    SCOPED_TRACE(body.toStdString());
    const Error error = errorOf(service.read, body);
    EXPECT_EQ(error.domain, u"json"_s);
    EXPECT_NE(error.code, 0);
    EXPECT_TRUE(error.localizedDescription.startsWith(u"The service's answer is not JSON: "_s));
    EXPECT_FALSE(error.localizedDescription.contains(u"secret"_s));
}

TEST(Answer, ThatIsNotJsonIsAnErrorThatDoesNotShowIt)
{
    for (const QByteArray &body : {
             QByteArray("secret"),
             QByteArray("<html>secret</html>"),
             QByteArray(R"({"text":"secret)"),
             QByteArray(R"({"text":"secret"} more)"),
             QByteArray(R"({"text":"secret",})"),
             QByteArray(R"({text:"secret"})"),
             QByteArray(R"("secret")"),
             QByteArray("null"),
             QByteArray("{\"text\":\"\xff secret\"}"),
             QByteArray("{\"text\":\"secret\0", 16),
             QByteArray(2000, '['),
         }) {
        expectNotJson(multipart, body);
        expectNotJson(gemini, body);
    }
}

TEST(Answer, SaysWhereItStopsBeingJson)
{
    const Error error = errorOf(multipartTranscript, R"({"text":"secret"} more)");
    EXPECT_EQ(error.localizedDescription.toStdString(),
              "The service's answer is not JSON: garbage at the end of the document at byte 18. Check the "
              "service's address and key, or try again later.");
}

TEST(Answer, ThatIsEmptyIsSaid)
{
    for (const Reader read : {multipartTranscript, geminiTranscript}) {
        const Error error = errorOf(read, QByteArray());
        EXPECT_EQ(error.domain, u"json"_s);
        EXPECT_NE(error.code, 0);
        EXPECT_EQ(error.localizedDescription.toStdString(),
                  "The service's answer is empty. Check the service's address and key, or try again later.");
    }
}

TEST(Answer, MayBeInAnyUnicodeEncoding)
{
    using enum QStringConverter::Encoding;
    for (const auto encoding : {Utf8, Utf16LE, Utf16BE, Utf32LE, Utf32BE}) {
        for (const auto flag : {QStringConverter::Flag::Default, QStringConverter::Flag::WriteBom}) {
            SCOPED_TRACE(QStringConverter::nameForEncoding(encoding));
            EXPECT_EQ(multipartTranscript(encoded(uR"({"text":"Türkçe"})"_s, encoding, flag)), u"Türkçe"_s);
            EXPECT_EQ(multipartTranscript(encoded(u"\n {\"text\":\"ü\"}"_s, encoding, flag)), u"ü"_s);
        }
    }
}

TEST(Answer, WithoutTextThatIsNotUtf8IsABadResponse)
{
    using enum QStringConverter::Encoding;
    for (const auto encoding : {Utf16LE, Utf16BE, Utf32LE, Utf32BE}) {
        SCOPED_TRACE(QStringConverter::nameForEncoding(encoding));
        const QByteArray body =
            encoded(uR"({"error":"ünknown"})"_s, encoding, QStringConverter::Flag::WriteBom);
        for (const Service &service : {multipart, gemini}) {
            expectNoText(service, body, u"bad response"_s);
        }
    }
}

TEST(Answer, ThatCannotBeDecodedIsNotJson)
{
    using enum QStringConverter::Encoding;
    const auto withinText = [](const QString &text, QStringConverter::Encoding encoding) {
        return encoded(u"{\"text\":\""_s + text + u"\"}"_s, encoding, QStringConverter::Flag::Default);
    };
    const struct {
        const char *what;
        QByteArray body;
        std::string problem;
    } cases[] = {
        {"half a surrogate pair in UTF-16", withinText(u"secret "_s + QChar(0xd800), Utf16LE),
         "its characters cannot be decoded"},
        {"no character in UTF-32",
         withinText(u"?"_s, Utf32LE).replace(QByteArray("?\0\0\0", 4), QByteArray(4, '\xff')),
         "its characters cannot be decoded"},
        {"half a character after all in UTF-16", withinText(u"secret"_s, Utf16LE) + "\x7d",
         "garbage at the end of the document at byte 17"},
        {"half a character after all in UTF-32", withinText(u"secret"_s, Utf32BE) + '\0',
         "garbage at the end of the document at byte 17"},
    };
    for (const auto &[what, body, problem] : cases) {
        SCOPED_TRACE(what);
        const Error error = errorOf(multipartTranscript, body);
        EXPECT_EQ(error.domain, u"json"_s);
        EXPECT_NE(error.code, 0);
        EXPECT_EQ(error.localizedDescription.toStdString(),
                  "The service's answer is not JSON: " + problem
                      + ". Check the service's address and key, or try again later.");
    }
}

} // namespace
} // namespace kavrin
