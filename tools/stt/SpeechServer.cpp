// SPDX-License-Identifier: MIT
#include "tools/stt/SpeechServer.h"

#include "platform/linux/audio/libav/SoundDecoder.h"
#include "tools/stt/SpeechRecognizer.h"
#include "tools/stt/UploadDeadline.h"
#include "tools/stt/UploadForm.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <httplib.h>

#include <thread>

#include <sys/socket.h>

namespace kavrin
{

using namespace Qt::StringLiterals;
namespace
{

constexpr const char *address = "127.0.0.1";
constexpr const char *path = "/v1/audio/transcriptions";
constexpr const char *modelsPath = "/v1/models";
constexpr const char *jsonType = "application/json";
constexpr const char *textType = "text/plain; charset=utf-8";

std::string compactJson(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

void refuse(httplib::Response &response, const Refusal &refusal)
{
    const bool ownFault = refusal.status() >= 500;
    const QJsonObject error{
        {u"message"_s, QString::fromUtf8(refusal.what())},
        {u"type"_s, ownFault ? u"server_error"_s : u"invalid_request_error"_s},
        {u"param"_s,
         refusal.field().empty() ? QJsonValue() : QJsonValue(QString::fromStdString(refusal.field()))},
        {u"code"_s, QJsonValue()},
    };
    response.status = refusal.status();
    response.set_content(compactJson({{u"error"_s, error}}), jsonType);
}

/// The error for a request that never reached the transcription.
Refusal refusalOfStatus(const httplib::Request &request, int status)
{
    if (status == 404 && request.path == path) {
        return {405, "Only POST is answered here."};
    }
    if (status == 404) {
        return {
            404,
            std::string("There is nothing here. Recordings are sent by POST to ").append(path).append(".")};
    }
    return {status, "The request is not understood."};
}

/// Of the methods with a body this one can have no handler, and without one the library would keep the body.
httplib::Server::HandlerResponse refusePri(const httplib::Request &request, httplib::Response &response)
{
    if (request.method != "PRI") {
        return httplib::Server::HandlerResponse::Unhandled;
    }
    refuse(response, refusalOfStatus(request, 404));
    return httplib::Server::HandlerResponse::Handled;
}

void refuseEverythingElse(httplib::Server &server, std::chrono::milliseconds uploadTime)
{
    const auto refuseBody = [uploadTime](const httplib::Request &request, httplib::Response &response,
                                         const httplib::ContentReader &read) {
        const UploadDeadline deadline(request, uploadTime);
        discardBody(request, read);
        refuse(response, refusalOfStatus(request, 404));
    };
    constexpr const char *anyPath = "[\\s\\S]*";
    server.set_pre_routing_handler(refusePri);
    server.Post(anyPath, refuseBody)
        .Put(anyPath, refuseBody)
        .Patch(anyPath, refuseBody)
        .Delete(anyPath, refuseBody);
    server.set_error_handler([](const httplib::Request &request, httplib::Response &response) {
        if (response.body.empty()) {
            refuse(response, refusalOfStatus(request, response.status));
        }
    });
}

// Leaves out SO_REUSEPORT, which the library would set: two services must not share a port unnoticed.
void setListenerOptions(int socket)
{
    constexpr int on = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
}

} // namespace

SpeechServer::SpeechServer(SpeechRecognizer &recognizer, std::chrono::milliseconds uploadTime)
    : m_recognizer(recognizer), m_uploadTime(uploadTime), m_server(std::make_unique<httplib::Server>())
{
    m_server->set_socket_options(setListenerOptions);
    // An idle connection would delay the end of the service.
    m_server->set_keep_alive_max_count(1);
    m_server->Post(path,
                   [this](const httplib::Request &request, httplib::Response &response,
                          const httplib::ContentReader &read) {
                       try {
                           answerTranscription(request, response, read);
                       } catch (const Refusal &refusal) {
                           refuse(response, refusal);
                       } catch (const Error &error) {
                           refuse(response, {400, error.what(), "file"});
                       } catch (const RecognitionStopped &stopped) {
                           refuse(response, {503, stopped.what()});
                       } catch (const std::exception &failure) {
                           refuse(response, {500, failure.what()});
                       }
                   });
    m_server->Get(modelsPath, [](const httplib::Request & /*request*/, httplib::Response &response) {
        response.set_content(R"({"object":"list","data":[{"id":"en-us","object":"model"}]})", jsonType);
    });
    refuseEverythingElse(*m_server, m_uploadTime);
}

SpeechServer::~SpeechServer() = default;

QUrl SpeechServer::bind(int port)
{
    const int bound = port == 0                 ? m_server->bind_to_any_port(address)
        : m_server->bind_to_port(address, port) ? port
                                                : -1;
    if (bound < 0) {
        throw std::runtime_error("Port " + std::to_string(port) + " of " + address
                                 + " cannot be used, most likely because another program uses it. "
                                   "Choose another one, or 0 for any that is free.");
    }
    QUrl url;
    url.setScheme(u"http"_s);
    url.setHost(QString::fromLatin1(address));
    url.setPort(bound);
    url.setPath(QString::fromLatin1(path));
    return url;
}

void SpeechServer::serve()
{
    const bool ended = m_server->listen_after_bind();
    m_served = true;
    if (!ended && !m_stop.stop_requested()) {
        throw std::runtime_error("The speech service can take no more connections.");
    }
}

void SpeechServer::stop()
{
    m_stop.request_stop();
    // The library's server ignores a stop that comes before it runs.
    while (!m_server->is_running() && !m_served) {
        std::this_thread::yield();
    }
    m_server->stop();
}

UploadForm SpeechServer::receiveForm(const httplib::Request &request,
                                     const httplib::ContentReader &read) const
{
    const UploadDeadline deadline(request, m_uploadTime);
    return readUploadForm(request, read, largestUpload);
}

void SpeechServer::answerTranscription(const httplib::Request &request, httplib::Response &response,
                                       const httplib::ContentReader &read)
{
    const UploadForm form = receiveForm(request, read);
    const Sound sound = decodeSound(form.file, SoundFormat{speechSampleRate, 1});
    const QString text = m_recognizer.recognize(sound.samples, m_stop.get_token());
    if (form.format == ResponseFormat::Text) {
        response.set_content((text + u'\n').toStdString(), textType);
    } else {
        response.set_content(compactJson({{u"text"_s, text}}), jsonType);
    }
}

} // namespace kavrin
