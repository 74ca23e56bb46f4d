// SPDX-License-Identifier: MIT
#include "loopback/LoopbackAnswer.h"

#include "store/DictationKeys.h"
#include "store/JsonSerialization.h"
#include "store/Shared.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <optional>
#include <string_view>

namespace kavrin
{

namespace
{

using namespace Qt::StringLiterals;

constexpr std::string_view getPath = "/get";
constexpr std::string_view commandPath = "/cmd";
constexpr std::string_view usedPath = "/used";

constexpr std::string_view nothing = "{}";
constexpr std::string_view done = R"({"ok":true})";

/// The dictation keys that are present, as JSON; nothing where one of them holds what JSON cannot represent.
/// Read at one moment, so that a new stamp never comes with the text before it.
std::string dictationKeys()
{
    // Never destroyed: the server answers until the process has ended.
    static const QStringList &readableKeys =
        *new QStringList{dictation::aliveKey, dictation::stateKey, dictation::transcriptKey,
                         dictation::stampKey, dictation::usedKey};
    const std::optional<QJsonObject> members = toJson(Shared::d().objects(readableKeys).value);
    return members ? QJsonDocument(*members).toJson(QJsonDocument::Compact).toStdString()
                   : std::string(nothing);
}

std::optional<LoopbackWrite> command(const LoopbackRequest &request)
{
    const auto value = request.query.find("v");
    if (value == request.query.end() || (value->second != "start" && value->second != "stop")) {
        return std::nullopt;
    }
    return LoopbackWrite{dictation::commandKey, QString::fromStdString(value->second)};
}

std::optional<LoopbackWrite> used(const LoopbackRequest &request)
{
    const auto value = request.query.find("t");
    if (value == request.query.end()) {
        return std::nullopt;
    }
    const std::optional<double> stamp = decimalNumber(value->second);
    return stamp ? std::optional(LoopbackWrite{dictation::usedKey, *stamp}) : std::nullopt;
}

std::string bodyFor(const LoopbackRequest &request)
{
    if (request.path == getPath) {
        return dictationKeys();
    }
    return std::string(request.path == commandPath || request.path == usedPath ? done : nothing);
}

} // namespace

std::optional<LoopbackWrite> loopbackWrite(const std::optional<LoopbackRequest> &request)
{
    if (request && request->path == commandPath) {
        return command(*request);
    }
    return request && request->path == usedPath ? used(*request) : std::nullopt;
}

std::optional<LoopbackRequest> withoutEffect(std::optional<LoopbackRequest> request)
{
    if (!request || request->path == getPath) {
        return std::nullopt;
    }
    request->query.clear();
    return request;
}

std::string loopbackAnswer(const std::optional<LoopbackRequest> &request)
{
    const std::string body = request ? bodyFor(*request) : std::string(nothing);
    return "HTTP/1.1 200 OK\r\n"
           "Content-Type: application/json\r\n"
           "Content-Length: "
        + std::to_string(body.size())
        + "\r\n"
          "Connection: close\r\n"
          "\r\n"
        + body;
}

} // namespace kavrin
