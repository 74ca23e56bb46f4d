// SPDX-License-Identifier: MIT
#pragma once

#include <QUrl>

#include <atomic>
#include <cstddef>
#include <memory>
#include <stop_token>

namespace httplib
{
class Server;
struct Request;
struct Response;
class ContentReader;
} // namespace httplib

namespace kavrin
{

class SpeechRecognizer;

/// The HTTP face of the speech service: `POST /v1/audio/transcriptions` on 127.0.0.1, as OpenAI's
/// transcription service answers it.
///
/// The form fields `file` and `model` are required, `model` may have any value; `response_format` is `json`
/// (when absent) or `text`; all others are read and ignored, and so is any Authorization header. The answer
/// is
/// `{"text":STRING}`; a refusal is
/// `{"error":{"message":STRING,"type":STRING,"param":STRING or null,"code":null}}` with the HTTP status 400,
/// 404, 405, 413, 500 or 503. One connection carries one request.
class SpeechServer
{
public:
    /// The most bytes that one upload may hold, which is what the public service takes.
    static constexpr std::size_t largestUpload = std::size_t{25} * 1024 * 1024;

    /// `recognizer` must outlive the server.
    explicit SpeechServer(SpeechRecognizer &recognizer);
    ~SpeechServer();

    /// Takes `port` of 127.0.0.1, any free one when it is 0. From now on requests wait to be answered.
    /// Returns the address to send them to. Throws std::runtime_error with a message for a person when the
    /// port is taken.
    QUrl bind(int port);

    /// Answers requests until stop(); returns when every answer under way has been given. Throws
    /// std::runtime_error when the system takes the port away.
    void serve();

    /// Ends serve(), which must have been called or be about to be, from another thread. What is still being
    /// recognised is refused with 503.
    void stop();

private:
    void answerTranscription(const httplib::Request &request, httplib::Response &response,
                             const httplib::ContentReader &read);

    SpeechRecognizer &m_recognizer;
    std::unique_ptr<httplib::Server> m_server;
    std::stop_source m_stop;
    std::atomic<bool> m_served = false;
};

} // namespace kavrin
