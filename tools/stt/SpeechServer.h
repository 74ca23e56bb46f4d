// SPDX-License-Identifier: MIT
#pragma once

#include <QUrl>

#include <atomic>
#include <chrono>
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
struct UploadForm;

/// The HTTP interface of the speech service: `POST /v1/audio/transcriptions` on 127.0.0.1, with the answers
/// of OpenAI's transcription service. `GET /v1/models` is answered with a list of one model, so that a
/// program can find out that the service runs.
///
/// The form fields `file` and `model` are required; `model` may have any value. `response_format` is `json`
/// (also if absent) or `text`. The service reads and ignores all other fields and any Authorization header.
/// The answer is `{"text":STRING}`. A refusal is
/// `{"error":{"message":STRING,"type":STRING,"param":STRING or null,"code":null}}` with the HTTP status 400,
/// 404, 405, 413, 500 or 503. One connection carries one request.
class SpeechServer
{
public:
    /// The most bytes that one upload may hold: the limit of the public service.
    static constexpr std::size_t largestUpload = std::size_t{25} * 1024 * 1024;

    /// `recognizer` must outlive the server. A body that has not come whole in `uploadTime` gets no
    /// answer.
    explicit SpeechServer(SpeechRecognizer &recognizer,
                          std::chrono::milliseconds uploadTime = std::chrono::seconds(30));
    ~SpeechServer();

    /// Takes `port` of 127.0.0.1; with 0, any free one. From now on requests wait to be answered. Returns the
    /// address for them. Throws std::runtime_error with a message for the user if the port is taken.
    QUrl bind(int port);

    /// Answers requests until stop(). Returns when every running answer is complete, which may take as long
    /// as the connections like. Throws std::runtime_error if the system takes the port away.
    void serve();

    /// Ends serve(), which another thread must have called or be about to call. Recordings that are still
    /// being recognised are refused with 503.
    void stop();

private:
    void answerTranscription(const httplib::Request &request, httplib::Response &response,
                             const httplib::ContentReader &read);
    [[nodiscard]] UploadForm receiveForm(const httplib::Request &request,
                                         const httplib::ContentReader &read) const;

    SpeechRecognizer &m_recognizer;
    std::chrono::milliseconds m_uploadTime;
    std::unique_ptr<httplib::Server> m_server;
    std::stop_source m_stop;
    std::atomic<bool> m_served = false;
};

} // namespace kavrin
