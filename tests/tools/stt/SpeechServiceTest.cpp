// SPDX-License-Identifier: MIT
#include "support/Paths.h"
#include "support/Recordings.h"
#include "support/Wait.h"
#include "tools/stt/Trickle.h"

#include <QHttpMultiPart>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QTcpSocket>
#include <QUrl>

#include <gmock/gmock.h>

#include <array>
#include <csignal>
#include <deque>

using namespace kavrin::test;

namespace
{

const QString program = programPath("kavrin-stt");

constexpr qsizetype largestUpload = qsizetype{25} * 1024 * 1024;
constexpr std::size_t callers = 3;

struct Ended {
    int code;
    std::string output;
    std::string errors;
};

Ended run(const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(-1);
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    return {process.exitCode(), process.readAllStandardOutput().toStdString(),
            process.readAllStandardError().toStdString()};
}

struct Answer {
    int status;
    std::string type;
    std::string body;
};

Answer answerOf(QNetworkReply &reply)
{
    waitUntil([&] { return reply.isFinished(); });
    return {reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
            reply.header(QNetworkRequest::ContentTypeHeader).toString().toStdString(),
            reply.readAll().toStdString()};
}

struct Field {
    const char *name;
    QByteArray value;
};

std::unique_ptr<QHttpMultiPart> form(const std::vector<Field> &fields)
{
    auto form = std::make_unique<QHttpMultiPart>(QHttpMultiPart::FormDataType);
    for (const Field &field : fields) {
        QHttpPart part;
        const QString fileName =
            qstrcmp(field.name, "file") == 0 ? QStringLiteral("; filename=\"a\"") : QString();
        part.setHeader(QNetworkRequest::ContentDispositionHeader,
                       QStringLiteral("form-data; name=\"%1\"").arg(QString::fromLatin1(field.name))
                           + fileName);
        part.setBody(field.value);
        form->append(part);
    }
    return form;
}

/// The service as people start it: a process on a free port.
class SpeechService : public testing::Test
{
protected:
    SpeechService()
    {
        m_process.start(program, {QStringLiteral("--port"), QStringLiteral("0")});
        while (!m_process.canReadLine() && m_process.waitForReadyRead(-1)) { }
        m_url = QUrl(QString::fromUtf8(m_process.readLine().trimmed()));
    }

    ~SpeechService() override
    {
        m_process.terminate();
        m_process.waitForFinished(-1);
    }

    QNetworkReply *post(const std::vector<Field> &fields)
    {
        std::unique_ptr<QHttpMultiPart> body = form(fields);
        QNetworkReply *reply = m_network.post(QNetworkRequest(m_url), body.get());
        body.release()->setParent(reply);
        return reply;
    }

    Answer transcribe(const std::vector<Field> &fields) { return answerOf(*post(fields)); }

    Answer send(const QByteArray &method, const QString &path, const QByteArray &type = {},
                const QByteArray &body = {})
    {
        QNetworkRequest request(m_url.resolved(QUrl(path)));
        if (!type.isEmpty()) {
            request.setHeader(QNetworkRequest::ContentTypeHeader, type);
        }
        return answerOf(*m_network.sendCustomRequest(request, method, body));
    }

    bool connectTo(QTcpSocket &socket) const
    {
        socket.connectToHost(m_url.host(), static_cast<quint16>(m_url.port()));
        return socket.waitForConnected(-1);
    }

    QProcess m_process;
    QUrl m_url;
    QNetworkAccessManager m_network;
};

std::string refusal(const char *message, const char *parameter)
{
    return std::string(R"({"error":{"code":null,"message":")") + message + R"(","param":)" + parameter
        + R"(,"type":"invalid_request_error"}})";
}

QByteArray clip()
{
    return readFile(shortRecording().path);
}

TEST_F(SpeechService, PrintsWhereItServes)
{
    EXPECT_EQ(m_url.toString(),
              QStringLiteral("http://127.0.0.1:%1/v1/audio/transcriptions").arg(m_url.port()));
}

TEST_F(SpeechService, TranscribesARecording)
{
    const Answer answer = transcribe({{"model", "whisper-1"}, {"response_format", "json"}, {"file", clip()}});

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.type, "application/json");
    EXPECT_EQ(answer.body, R"({"text":"ten of clubs"})");
}

TEST_F(SpeechService, AnswersInPlainTextWhenAskedTo)
{
    const Answer answer = transcribe({{"file", clip()}, {"model", "x"}, {"response_format", "text"}});

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.type, "text/plain; charset=utf-8");
    EXPECT_EQ(answer.body, "ten of clubs\n");
}

TEST_F(SpeechService, IgnoresTheFieldsThatItDoesNotKnow)
{
    const Answer answer = transcribe(
        {{"language", "de"}, {"prompt", "x"}, {"temperature", "1"}, {"model", "x"}, {"file", clip()}});

    EXPECT_EQ(answer.status, 200);
}

TEST_F(SpeechService, AnswersSilenceWithAnEmptyText)
{
    const QByteArray silence =
        ffmpeg(QStringLiteral("-f lavfi -i anullsrc=sample_rate=16000:channel_layout=mono -t 2").split(u' '),
               QStringLiteral("m4a"));

    EXPECT_EQ(transcribe({{"file", silence}, {"model", "x"}}).body, R"({"text":""})");
}

TEST_F(SpeechService, RefusesAFormThatDoesNotAskForATranscription)
{
    struct Case {
        std::vector<Field> fields;
        int status;
        std::string body;
    };
    const std::string unreadable =
        "The file is not a recording that can be read. Send MPEG-4 (m4a, mp4), WAV, MP3, "
        "Ogg, FLAC or WebM audio, and the whole of it.";
    const Case cases[] = {
        {{{"model", "x"}}, 400, refusal("The field file is missing from the form.", R"("file")")},
        {{{"file", clip()}}, 400, refusal("The field model is missing from the form.", R"("model")")},
        {{{"file", clip()}, {"model", "x"}, {"response_format", "verbose_json"}},
         400,
         refusal(R"(The response_format \"verbose_json\" is not supported. Ask for \"json\" or \"text\".)",
                 R"("response_format")")},
        {{{"file", ""}, {"model", "x"}}, 400, refusal("The file is empty.", R"("file")")},
        {{{"file", "rubbish"}, {"model", "x"}}, 400, refusal(unreadable.c_str(), R"("file")")},
        {{{"file", QByteArray(largestUpload, 'x')}, {"model", "x"}},
         413,
         refusal("The upload is larger than 26214400 bytes, the most that is taken. "
                 "Send the recording in parts, or coded more tightly.",
                 R"("file")")},
    };
    for (const Case &expected : cases) {
        SCOPED_TRACE(expected.body);
        const Answer answer = transcribe(expected.fields);
        EXPECT_EQ(answer.status, expected.status);
        EXPECT_EQ(answer.type, "application/json");
        EXPECT_EQ(answer.body, expected.body);
    }
}

TEST_F(SpeechService, TellsWhichModelItHas)
{
    const Answer answer = send("GET", QStringLiteral("/v1/models"));
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.type, "application/json");
    EXPECT_EQ(answer.body, R"({"object":"list","data":[{"id":"en-us","object":"model"}]})");
}

TEST_F(SpeechService, RefusesWhatIsNoUpload)
{
    struct Case {
        const char *method;
        const char *path;
        const char *type;
        const char *body;
        int status;
        const char *message;
    };
    constexpr const char *here = "/v1/audio/transcriptions";
    constexpr const char *onlyPost = "Only POST is answered here.";
    constexpr const char *nothing =
        "There is nothing here. Recordings are sent by POST to /v1/audio/transcriptions.";
    constexpr const char *noForm =
        "Send the recording as a multipart/form-data body with the fields file and model.";
    constexpr const char *broken = "The upload ended early or is not a well-formed multipart/form-data body.";
    const Case cases[] = {
        {"GET", here, "", "", 405, onlyPost},
        {"PUT", here, "text/plain", "x", 405, onlyPost},
        {"DELETE", here, "", "", 405, onlyPost},
        {"GET", "/", "", "", 404, nothing},
        {"POST", "/v1/audio/translations", "text/plain", "x", 404, nothing},
        {"POST", "/v1/audio/transcriptions/", "text/plain", "x", 404, nothing},
        {"POST", here, "application/json", "{}", 400, noForm},
        {"POST", here, "multipart/form-data", "x", 400, broken},
        {"POST", here, "multipart/form-data; boundary=b", "x", 400, broken},
        {"POST", here, "multipart/form-data; boundary=b",
         "--b\r\nContent-Disposition: form-data; name=\"model\"\r\n\r\nx", 400, broken},
    };
    for (const Case &expected : cases) {
        SCOPED_TRACE(testing::Message() << expected.method << ' ' << expected.path << ' ' << expected.type);
        const Answer answer =
            send(expected.method, QString::fromLatin1(expected.path), expected.type, expected.body);
        EXPECT_EQ(answer.status, expected.status);
        EXPECT_EQ(answer.body, refusal(expected.message, "null"));
    }
}

TEST_F(SpeechService, AnswersRequestsThatComeAtOnce)
{
    const std::vector<Field> fields = {{"file", clip()}, {"model", "x"}};
    const Answer alone = transcribe(fields);
    std::array<QNetworkReply *, callers> replies{};
    for (QNetworkReply *&reply : replies) {
        reply = post(fields);
    }

    for (QNetworkReply *reply : replies) {
        EXPECT_EQ(answerOf(*reply).body, alone.body);
    }
}

TEST_F(SpeechService, ServesNoOtherAddress)
{
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.2"), static_cast<quint16>(m_url.port()));

    EXPECT_FALSE(socket.waitForConnected(-1));
    EXPECT_EQ(socket.error(), QAbstractSocket::ConnectionRefusedError);
}

TEST_F(SpeechService, SaysThatItsPortIsTaken)
{
    const QString port = QString::number(m_url.port());

    const Ended second = run({QStringLiteral("--port"), port});

    EXPECT_EQ(second.code, 1);
    EXPECT_EQ(second.output, "");
    EXPECT_EQ(second.errors,
              "kavrin-stt: Port " + port.toStdString()
                  + " of 127.0.0.1 cannot be used, most likely because another program uses it. "
                    "Choose another one, or 0 for any that is free.\n");
}

TEST_F(SpeechService, LogsNothing)
{
    transcribe({{"file", clip()}, {"model", "x"}});
    transcribe({{"file", "rubbish"}, {"model", "x"}});
    m_process.terminate();
    m_process.waitForFinished(-1);

    EXPECT_EQ(m_process.readAllStandardOutput(), QByteArray());
    EXPECT_EQ(m_process.readAllStandardError(), QByteArray());
}

TEST_F(SpeechService, EndsWhenToldTo)
{
    m_process.terminate();
    m_process.waitForFinished(-1);

    EXPECT_EQ(m_process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(m_process.exitCode(), 0);
}

TEST_F(SpeechService, EndsWhenInterrupted)
{
    ::kill(static_cast<pid_t>(m_process.processId()), SIGINT);
    m_process.waitForFinished(-1);

    EXPECT_EQ(m_process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(m_process.exitCode(), 0);
}

TEST_F(SpeechService, EndsWhateverItsConnectionsDo)
{
    const QByteArray upload = "POST /v1/audio/transcriptions HTTP/1.1\r\n"
                              "Content-Type: multipart/form-data; boundary=b\r\n"
                              "Content-Length: 1000000\r\n\r\n";
    std::deque<Trickle> trickles;
    for (int count = 0; count < 3; ++count) {
        trickles.emplace_back(m_url, upload);
        trickles.emplace_back(m_url, "POST /v1/audio/transcriptions HTTP/1.1\r\nHeader: ");
    }
    // After this one has been answered, those that came before it are being served.
    EXPECT_EQ(send("GET", QStringLiteral("/")).status, 404);
    m_process.terminate();

    EXPECT_TRUE(waitUntil([&] { return m_process.state() == QProcess::NotRunning; }));
    EXPECT_EQ(m_process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(m_process.exitCode(), 0);
}

TEST_F(SpeechService, RefusesWhatItHasNotHeardWhenItEnds)
{
    const QByteArray body = "--b\r\nContent-Disposition: form-data; name=\"model\"\r\n\r\nx\r\n"
                            "--b\r\nContent-Disposition: form-data; name=\"file\"; filename=\"a\"\r\n\r\n"
        + clip() + "\r\n--b--\r\n";
    QTcpSocket upload;
    ASSERT_TRUE(connectTo(upload));
    upload.write("POST /v1/audio/transcriptions HTTP/1.1\r\nContent-Type: multipart/form-data; boundary=b\r\n"
                 "Expect: 100-continue\r\nContent-Length: "
                 + QByteArray::number(body.size()) + "\r\n\r\n");
    // Only now is the request among those that the service answers before it ends.
    QByteArray goOn;
    while (!goOn.endsWith("\r\n\r\n") && upload.waitForReadyRead(-1)) {
        goOn += upload.readAll();
    }
    ASSERT_THAT(goOn.toStdString(), testing::StartsWith("HTTP/1.1 100"));

    m_process.terminate();
    // A service that takes no connections has begun to end.
    ASSERT_TRUE(waitUntil([&] {
        QTcpSocket probe;
        return !connectTo(probe);
    }));
    upload.write(body);
    upload.waitForDisconnected(-1);
    m_process.waitForFinished(-1);

    const std::string answer = upload.readAll().toStdString();
    EXPECT_THAT(answer, testing::StartsWith("HTTP/1.1 503"));
    EXPECT_THAT(answer, testing::HasSubstr("The speech service is shutting down."));
    EXPECT_EQ(m_process.exitCode(), 0);
}

TEST(SpeechServiceUsage, ExplainsItself)
{
    const Ended help = run({QStringLiteral("--help")});
    EXPECT_EQ(help.code, 0);
    EXPECT_THAT(help.output, testing::HasSubstr("--port <N>"));
    EXPECT_EQ(run({QStringLiteral("--version")}).output, "kavrin-stt " KAVRIN_VERSION "\n");
}

TEST(SpeechServiceUsage, RefusesWrongArguments)
{
    const QStringList cases[] = {
        {},
        {QStringLiteral("--port")},
        {QStringLiteral("--port"), QStringLiteral("x")},
        {QStringLiteral("--port"), QStringLiteral("-1")},
        {QStringLiteral("--port"), QStringLiteral("65536")},
        {QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("x")},
        {QStringLiteral("--verbose")},
    };
    for (const QStringList &arguments : cases) {
        SCOPED_TRACE(arguments.join(u' ').toStdString());
        const Ended ended = run(arguments);
        EXPECT_EQ(ended.code, 2);
        EXPECT_EQ(ended.output, "");
        EXPECT_THAT(ended.errors, testing::StartsWith("kavrin-stt: "));
    }
}

} // namespace
