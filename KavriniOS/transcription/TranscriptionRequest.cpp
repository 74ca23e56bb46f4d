// SPDX-License-Identifier: MIT
#include "transcription/TranscriptionRequest.h"

#include <QUrl>

#include <algorithm>

namespace kavrin
{

namespace
{

using namespace Qt::StringLiterals;

UrlRequest postRequest(const QString &endpoint)
{
    UrlRequest request;
    request.url = requestUrl(endpoint);
    request.method = "POST";
    return request;
}

QByteArray textField(const QByteArray &boundary, const QByteArray &name, const QByteArray &value)
{
    return "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + value
        + "\r\n";
}

QByteArray multipartBody(const QByteArray &boundary, const QByteArray &model, const QByteArray &audio)
{
    const QByteArray head = textField(boundary, "model", model)
        + textField(boundary, "response_format", "json") + "--" + boundary
        + "\r\nContent-Disposition: form-data; name=\"file\"; filename=\"dict.m4a\"\r\n"
          "Content-Type: audio/mp4\r\n\r\n";
    const QByteArray tail = "\r\n--" + boundary + "--\r\n";
    QByteArray body;
    body.reserve(head.size() + audio.size() + tail.size());
    return body.append(head).append(audio).append(tail);
}

QByteArray geminiBody(const QByteArray &audio)
{
    const QByteArray head = R"({"contents":[{"parts":[{"inline_data":{"mime_type":"audio/mp4","data":")";
    const QByteArray tail = R"("}},{"text":"Transcribe this audio verbatim with punctuation. )"
                            R"(Output only the transcript."}]}]})";
    QByteArray body;
    body.reserve(head.size() + (audio.size() + 2) / 3 * 4 + tail.size());
    body.append(head);
    // The Base64 is made piece by piece, so that no second one of the whole recording is held. Only the last
    // piece may have padding, so every other piece is a multiple of three.
    constexpr qsizetype pieceSize = 49152;
    for (qsizetype start = 0; start < audio.size(); start += pieceSize) {
        const qsizetype size = std::min(pieceSize, audio.size() - start);
        body.append(QByteArray::fromRawData(audio.constData() + start, size).toBase64());
    }
    return body.append(tail);
}

} // namespace

QByteArray requestUrl(const QString &endpoint)
{
    const QUrl url(endpoint, QUrl::StrictMode);
    if (url.isEmpty() || !url.isValid()) {
        throw Error(u"cfg"_s, 1, u"Bad endpoint URL"_s);
    }
    return endpoint.toUtf8();
}

UrlRequest transcriptionRequest(const MultipartService &service, const QString &boundary,
                                const QByteArray &audio)
{
    UrlRequest request = postRequest(service.endpoint);
    const QByteArray boundaryBytes = boundary.toLatin1();
    request.headers.emplace_back("Content-Type", "multipart/form-data; boundary=" + boundaryBytes);
    if (!service.token.isEmpty()) {
        request.headers.emplace_back("Authorization", "Bearer " + service.token.toUtf8());
    }
    request.body = multipartBody(boundaryBytes, service.model.toUtf8(), audio);
    return request;
}

UrlRequest transcriptionRequest(const GeminiService &service, const QByteArray &audio)
{
    UrlRequest request = postRequest(u"https://"_s + service.host + u"/v1beta/models/"_s + service.model
                                     + u":generateContent?key="_s + service.key);
    request.headers.emplace_back("Content-Type", "application/json");
    request.body = geminiBody(audio);
    return request;
}

} // namespace kavrin
