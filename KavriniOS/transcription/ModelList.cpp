// SPDX-License-Identifier: MIT
#include "transcription/ModelList.h"

#include <QJsonDocument>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

UrlRequest getRequest(const QString &address)
{
    UrlRequest request;
    request.url = requestUrl(address);
    return request;
}

std::optional<UrlRequest> requestTo(const GeminiService &service)
{
    return getRequest(u"https://%1/v1beta/models?key=%2"_s.arg(service.host, service.key));
}

std::optional<UrlRequest> requestTo(const MultipartService &service)
{
    const QString transcriptions = u"/audio/transcriptions"_s;
    QString address = service.endpoint;
    if (!address.endsWith(transcriptions)) {
        return std::nullopt;
    }
    address.chop(transcriptions.size());
    UrlRequest request = getRequest(address + u"/models"_s);
    if (!service.token.isEmpty()) {
        request.headers.emplace_back("Authorization", "Bearer " + service.token.toUtf8());
    }
    return request;
}

} // namespace

std::optional<UrlRequest> modelListRequest(const SpeechService &service)
{
    return std::visit([](const auto &kind) { return requestTo(kind); }, service);
}

bool isModelList(const QByteArray &body)
{
    const QJsonDocument json = QJsonDocument::fromJson(body);
    return json[u"data"_s].isArray() || json[u"models"_s].isArray();
}

} // namespace kavrin
