// SPDX-License-Identifier: MIT
#include "tools/stt/SpeechServer.h"

#include "support/Wait.h"
#include "tools/stt/SpeechRecognizer.h"
#include "tools/stt/Trickle.h"

#include <gmock/gmock.h>

#include <deque>
#include <thread>

using namespace kavrin;
using namespace kavrin::test;

namespace
{

const QByteArray head = "POST /v1/audio/transcriptions HTTP/1.1\r\n";
const QByteArray formHead = head + "Content-Type: multipart/form-data; boundary=b\r\n";

/// The service with little patience.
class ImpatientSpeechServer : public testing::Test
{
protected:
    ImpatientSpeechServer() : m_url(m_server.bind(0)), m_serving([this] { m_server.serve(); }) { }
    ~ImpatientSpeechServer() override { m_server.stop(); }
    Q_DISABLE_COPY_MOVE(ImpatientSpeechServer)

    [[nodiscard]] QByteArray answerTo(const QByteArray &request) const
    {
        QTcpSocket socket;
        QByteArray answer;
        QObject::connect(&socket, &QTcpSocket::readyRead, &socket, [&] { answer += socket.readAll(); });
        socket.connectToHost(m_url.host(), quint16(m_url.port()));
        socket.write(request);
        EXPECT_TRUE(
            waitUntil([&] { return !answer.isEmpty() && socket.state() == QTcpSocket::UnconnectedState; }));
        return answer;
    }

private:
    SpeechRecognizer m_recognizer{QStringLiteral(KAVRIN_SPEECH_MODEL)};
    SpeechServer m_server{m_recognizer, std::chrono::milliseconds(200)};

protected:
    QUrl m_url;

private:
    std::jthread m_serving;
};

} // namespace

TEST_F(ImpatientSpeechServer, DoesNotWaitForABodyThatTricklesIn)
{
    const QByteArray length = "Content-Length: 1000000\r\n\r\n";
    const struct {
        const char *what;
        QByteArray beginning;
    } cases[] = {
        {"a file",
         formHead + length + "--b\r\nContent-Disposition: form-data; name=\"file\"; filename=\"a\"\r\n\r\n"},
        {"the head of a field", formHead + length + "--b\r\nContent-Disposition: "},
        {"the beginning of a form", formHead + length},
        {"the length of a chunk", formHead + "Transfer-Encoding: chunked\r\n\r\n5;"},
        {"packed",
         formHead + "Content-Encoding: gzip\r\n" + length + QByteArray("\x1f\x8b\x08\x08\0\0\0\0\0\3", 10)},
        {"no form", head + "Content-Type: application/json\r\n" + length},
        {"another path", "POST /other HTTP/1.1\r\n" + length},
        {"a path with a line break", "POST /%0A HTTP/1.1\r\n" + length},
        {"another method", "PUT /v1/audio/transcriptions HTTP/1.1\r\n" + length},
        {"a method that nobody uses", "PRI /v1/audio/transcriptions HTTP/1.1\r\n" + length},
    };
    for (const auto &[what, beginning] : cases) {
        SCOPED_TRACE(what);
        const Trickle trickle(m_url, beginning);
        EXPECT_TRUE(waitUntil([&] { return trickle.isClosed(); }));
    }
}

TEST_F(ImpatientSpeechServer, AnswersOthersThoughManyUploadsTrickleIn)
{
    std::deque<Trickle> trickles;
    for (int count = 0; count < 40; ++count) {
        trickles.emplace_back(m_url, formHead + "Content-Length: 1000000\r\n\r\n");
    }
    EXPECT_THAT(answerTo("GET / HTTP/1.1\r\n\r\n").toStdString(), testing::StartsWith("HTTP/1.1 404"));
}
